// The calls to a disk that a scan cannot do without, in plain C and with nothing around them.
#pragma once

#ifdef __cplusplus
extern "C"
{
#endif

    /// A poll whose SMART page is still good: opens, asks IDENTIFY, closes.
    /// @return 0, or -1 when any of it fails
    int BarePoll(const char* path);

    /// A full scan: opens, asks IDENTIFY, CHECK POWER MODE, SMART READ DATA, closes.
    int BareScan(const char* path);

#ifdef __cplusplus
}
#endif
