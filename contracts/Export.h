// Which support library a symbol belongs to. A library that is being built exports its symbols,
// everyone else imports them.
#pragma once

#if defined(_WIN32)
#define TARNIS_EXPORT __declspec(dllexport)
#define TARNIS_IMPORT __declspec(dllimport)
#else
#define TARNIS_EXPORT __attribute__((visibility("default")))
#define TARNIS_IMPORT __attribute__((visibility("default")))
#endif

#if defined(zelPlug_EXPORTS)
#define ZELPLUG_API TARNIS_EXPORT
#else
#define ZELPLUG_API TARNIS_IMPORT
#endif

#if defined(zelKit_EXPORTS)
#define ZELKIT_API TARNIS_EXPORT
#else
#define ZELKIT_API TARNIS_IMPORT
#endif

// The platform layer lives inside zelKitEx, so that one process has one machine.
#if defined(zelKitEx_EXPORTS)
#define ZELKITEX_API TARNIS_EXPORT
#define PLATFORM_API TARNIS_EXPORT
#else
#define ZELKITEX_API TARNIS_IMPORT
#define PLATFORM_API TARNIS_IMPORT
#endif

#if defined(zelStore_EXPORTS)
#define ZELSTORE_API TARNIS_EXPORT
#else
#define ZELSTORE_API TARNIS_IMPORT
#endif
