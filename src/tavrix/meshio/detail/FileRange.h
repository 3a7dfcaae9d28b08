#pragma once

#include <limits>
#include <vector>

#include <tavrix/platform/TX_String.h>
#include <tavrix/platform/Types.h>

namespace tavrix::detail
{

/// Bytes of a file, from begin to before end or the file's own end.
struct FileRange
{
    int64 begin = 0;
    int64 end = std::numeric_limits<int64>::max();
};

/// Cuts a text file into up to so many ranges of about the same size, behind ends of lines that no backslash
/// joins to the next. One range of all where the file is not to be read or its size not known, and where
/// lines end with carriage returns alone.
std::vector<FileRange> lineRanges(const TX_String& path, uint32 count);

}  // namespace tavrix::detail
