#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <tavrix/platform/Types.h>

#include "formats/Bytes.h"

namespace tavrix::formats
{

/// A ZIP file in memory, with its list of entries.
class Zip
{
public:
    /// Throws Failure when the bytes are no ZIP file, or its list is cut off or damaged; `path` names it in
    /// messages. Files of 4 GiB and more, and those in several parts, are refused.
    Zip(Bytes bytes, std::string path);

    /// The contents of an entry, by its name, letters in capitals or not; they may lie in the file itself.
    /// Throws Failure when there is none of that name, or it is encrypted, damaged, compressed by another
    /// method than deflate, or larger than its compressed bytes may be believed to hold.
    Bytes read(std::string_view name) const;
    bool has(std::string_view name) const { return find(name) != nullptr; }

private:
    struct Entry
    {
        std::string name;
        uint32 flags, method, checksum, packedSize, size, offset;
    };

    const Entry* find(std::string_view name) const;
    std::string_view packed(const Entry& entry) const;
    Bytes inflated(const Entry& entry) const;
    [[noreturn]] void refuse(const std::string& what) const;

    Bytes _bytes;
    std::string _path;
    std::vector<Entry> _entries;
};

}  // namespace tavrix::formats
