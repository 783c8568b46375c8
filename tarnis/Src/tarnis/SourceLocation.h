// std::source_location, also for the compiler that only analyses (clang 14 lacks it).
#pragma once

#include <source_location>

#if !defined(__cpp_lib_source_location)
#include <experimental/source_location>
#endif

namespace NAMESPACE_tarnis
{

#if defined(__cpp_lib_source_location)
using SourceLocation = std::source_location;
#else
using SourceLocation = std::experimental::source_location;
#endif

} // namespace NAMESPACE_tarnis
