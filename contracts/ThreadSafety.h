// Marks that let clang's -Wthread-safety prove which lock guards what. Other compilers see nothing.
#pragma once

#if defined(__clang__)
#define TARNIS_THREAD_SAFETY(mark) __attribute__((mark))
#else
#define TARNIS_THREAD_SAFETY(mark)
#endif

#define TARNIS_CAPABILITY(name) TARNIS_THREAD_SAFETY(capability(name))
#define TARNIS_SCOPED_CAPABILITY TARNIS_THREAD_SAFETY(scoped_lockable)
#define TARNIS_GUARDED_BY(lock) TARNIS_THREAD_SAFETY(guarded_by(lock))
#define TARNIS_REQUIRES(...) TARNIS_THREAD_SAFETY(requires_capability(__VA_ARGS__))
#define TARNIS_EXCLUDES(...) TARNIS_THREAD_SAFETY(locks_excluded(__VA_ARGS__))
#define TARNIS_ACQUIRE(...) TARNIS_THREAD_SAFETY(acquire_capability(__VA_ARGS__))
#define TARNIS_TRY_ACQUIRE(...) TARNIS_THREAD_SAFETY(try_acquire_capability(__VA_ARGS__))
#define TARNIS_RELEASE(...) TARNIS_THREAD_SAFETY(release_capability(__VA_ARGS__))
#define TARNIS_ACQUIRED_AFTER(...) TARNIS_THREAD_SAFETY(acquired_after(__VA_ARGS__))
#define TARNIS_NO_THREAD_SAFETY_ANALYSIS TARNIS_THREAD_SAFETY(no_thread_safety_analysis)
