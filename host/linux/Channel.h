#pragma once

#include "host/Output.h"

namespace Host
{

class Output::Channel
{
  public:
    explicit Channel(int file) : descriptor(file) {}
    ~Channel();
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    int descriptor;
};

} // namespace Host
