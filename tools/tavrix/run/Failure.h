#pragma once

#include "formats/Failure.h"

namespace tavrix::tool
{

/// What stops a command: the program prints its line and exits with 1.
using formats::Failure;

}  // namespace tavrix::tool
