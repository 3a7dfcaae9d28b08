#pragma once

#include <string>

#include <tavrix/platform/Types.h>

#include "formats/Failure.h"

namespace tavrix::formats
{

/// How much memory the parts of a file may take that it names again and again: a few bytes can ask for a
/// part a million times. 256 times what the file has, and 128 MiB.
class Allowance
{
public:
    Allowance(uint64 fileBytes, std::string path)
        : _left(256 * fileBytes + (uint64{128} << 20)), _path(std::move(path))
    {
    }

    /// What is given beyond the file's own bytes: what it refers to.
    void add(uint64 fileBytes) { _left += 256 * fileBytes; }

    /// Throws Failure when it is used up.
    void take(uint64 bytes)
    {
        if (bytes > _left)
            throw Failure(_path + ": repeats its parts until they fill the memory; export fewer copies");
        _left -= bytes;
    }

private:
    uint64 _left;
    std::string _path;
};

}  // namespace tavrix::formats
