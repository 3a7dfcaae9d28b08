#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "formats/PointTable.h"

namespace tavrix::formats
{

/// How the arrays of a VTK XML file are kept.
struct VtkEncoding
{
    bool isSwapped = false;       ///< of the other byte order than this machine's
    bool hasWideHeaders = false;  ///< header numbers of 64 bits, not 32
    bool isCompressed = false;    ///< by zlib, in blocks
    bool isAppendedRaw = false;   ///< appended data are bytes, not base64
    std::string_view appended{};  ///< all appended data
};

/// The bytes of an array, decoded and decompressed, and what they lie in.
struct VtkArrayBytes
{
    std::string_view bytes;
    std::shared_ptr<const void> storage;
};

/// The bytes that text in base64, or appended data from some place on, stand for. No more is decoded than the
/// array's header asks for, and no memory taken for more than the text could hold. Nothing when they are cut
/// off or damaged.
/// @{
std::optional<VtkArrayBytes> decodeInline(std::string_view base64, const VtkEncoding& encoding);
std::optional<VtkArrayBytes> decodeAppended(std::size_t offset, const VtkEncoding& encoding);
/// @}

}  // namespace tavrix::formats
