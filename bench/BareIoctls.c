#include "bench/BareIoctls.h"

#include <fcntl.h>
#include <scsi/sg.h>
#include <string.h>
#include <sys/ioctl.h>
#include <unistd.h>

enum
{
    READ_DATA = 4 << 1,
    NO_DATA = 3 << 1
};

static unsigned char page[512];

/// ATA PASS-THROUGH (16). @return the SCSI status, or -1
static int Send(int file, int protocol, int feature, int lbaMiddle, int lbaHigh, int command)
{
    unsigned char sense[32];
    unsigned char block[16] = {0x85, (unsigned char)protocol};
    sg_io_hdr_t request;
    memset(&request, 0, sizeof request);
    request.interface_id = 'S';
    request.cmdp = block;
    request.cmd_len = sizeof block;
    request.sbp = sense;
    request.mx_sb_len = sizeof sense;
    request.timeout = 10000;
    request.dxfer_direction = SG_DXFER_NONE;
    block[2] = 0x20; // the registers come back as sense data
    if (protocol == READ_DATA)
    {
        block[2] = 0x0E;
        block[6] = 1;
        request.dxfer_direction = SG_DXFER_FROM_DEV;
        request.dxferp = page;
        request.dxfer_len = sizeof page;
    }
    block[4] = (unsigned char)feature;
    block[10] = (unsigned char)lbaMiddle;
    block[12] = (unsigned char)lbaHigh;
    block[14] = (unsigned char)command;
    return ioctl(file, SG_IO, &request) == 0 ? request.status : -1;
}

int BarePoll(const char* path)
{
    const int file = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    const int status = Send(file, READ_DATA, 0, 0, 0, 0xEC);
    return close(file) == 0 && status == 0 ? 0 : -1;
}

int BareScan(const char* path)
{
    const int file = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    const int asked = Send(file, READ_DATA, 0, 0, 0, 0xEC) == 0 &&
                      Send(file, NO_DATA, 0, 0, 0, 0xE5) >= 0 &&
                      Send(file, READ_DATA, 0xD0, 0x4F, 0xC2, 0xB0) == 0;
    return close(file) == 0 && asked ? 0 : -1;
}
