// Memory for the way out.
#pragma once

namespace Host
{

/// Keeps some memory aside. When memory runs out, a first part of it lets the allocation succeed
/// all the same, since it may stand where nothing can be thrown; a second part is set free with the
/// first exception, for what ends then. To be called again where others may have used it up and
/// gone on. @throws std::bad_alloc
void FillMemoryReserve();

/// To be called between steps that need less than half a megabyte.
/// @throws std::bad_alloc when the first part is gone
void CheckMemoryReserve();

} // namespace Host
