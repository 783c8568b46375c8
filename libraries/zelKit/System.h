// What zelKit needs of the system; linux/ and windows/ hold the ways.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace ZKT::Internals
{

/// Keeps the library that holds an address in memory for the life of the process.
void KeepLoaded(const void* code);

/// The number that the system gives the calling thread.
std::uint64_t ThreadNumber();

/// Opens a file to write at its end, without ever waiting for it.
/// @return its descriptor; -1, and errno tells why
int OpenForAppending(const std::string& path);

void CloseFile(int file);

/// Writes as much of a text as the system takes at once, which may be nothing.
/// @return 0, or the system's error
int WriteSome(int file, std::string_view text, std::size_t& written);

} // namespace ZKT::Internals
