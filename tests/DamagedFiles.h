#pragma once

#include <string>
#include <vector>

#include <Bytes.h>
#include <tavrix/platform/Types.h>

namespace tavrix::test
{

/// A whole small file: where its header ends, and where its 32-bit counts stand.
struct SmallFile
{
    std::string bytes;
    std::size_t headerSize = 0;
    std::vector<std::size_t> counts;
};

/// Calls check(bytes) with the file cut at every length, with every byte of its header set to 0x00 and to
/// 0xFF, and with each of its counts set to 2^31 - 1, 2^31 and 2^32 - 1.
template <class Check>
void forEachDamage(const SmallFile& file, const Check& check)
{
    for (std::size_t size = 0; size <= file.bytes.size(); ++size) check(file.bytes.substr(0, size));
    for (std::size_t i = 0; i < file.headerSize; ++i)
        for (const char value : {'\0', '\xFF'})
        {
            std::string damaged = file.bytes;
            damaged[i] = value;
            check(damaged);
        }
    for (const std::size_t at : file.counts)
        for (const uint32 count : {0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu})
            check(std::string(file.bytes).replace(at, 4, bytesOf(count)));
}

}  // namespace tavrix::test
