// Memory for the way out.
#pragma once

namespace Host
{

/// Keeps some memory aside. When memory runs out, a first part of it lets the allocation succeed
/// all the same, since it may stand where nothing can be thrown; a second part is set free with the
/// first exception, for what ends then. To be called again where others may have used it up and
/// gone on. @throws std::bad_alloc
void FillMemoryReserve();

} // namespace Host
