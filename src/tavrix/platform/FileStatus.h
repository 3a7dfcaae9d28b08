#pragma once

#include <tavrix/platform/Types.h>

namespace tavrix
{

/// How a file stands after the operations on it so far.
enum class FileStatus : uint32
{
    ok = 0,
    failed = 0x80040000,        ///< any failure that has no value of its own
    cannotOpen = 0x80040001,    ///< no such file, a directory, no permission
    cannotWrite = 0x80040002,   ///< the disk is full or gone
    endsTooEarly = 0x80050002,  ///< a read asked for more than the file holds
};

}  // namespace tavrix
