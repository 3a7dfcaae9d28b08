#include "Fuzz.h"

#include <algorithm>
#include <vector>

#include <zlib.h>

#include "formats/Failure.h"
#include "formats/PngHeights.h"

using namespace tavrix;

namespace
{

/// Puts right the checksums of the chunks, behind which nothing would be read otherwise.
void sumUp(std::vector<unsigned char>& file)
{
    const auto numberAt = [&](std::size_t place)
    {
        return std::size_t{file[place]} << 24 | std::size_t{file[place + 1]} << 16 |
               std::size_t{file[place + 2]} << 8 | file[place + 3];
    };
    for (std::size_t place = 8; place + 12 <= file.size();)
    {
        const std::size_t size = numberAt(place), end = place + 8 + size;
        if (file.size() - place - 12 < size) return;
        const uLong sum = crc32(0, file.data() + place + 4, static_cast<uInt>(size + 4));
        for (std::size_t n = 0; n < 4; ++n) file[end + n] = static_cast<unsigned char>(sum >> (24 - 8 * n));
        place = end + 4;
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    std::vector<unsigned char> bytes(data, data + size);
    sumUp(bytes);
    const fuzz::MemoryFile file(bytes.data(), bytes.size());
    try
    {
        const HeightPicture picture = formats::readPngHeights(file.path().c_str());
        fuzz::require(picture.values.size() == picture.width * picture.height, "a value a pixel");
        for (const float value : picture.values)
            fuzz::require(value >= 0 && value <= 1.0001f, "heights up to 1");
        fuzz::require(picture.at(0.3, 7) <= 1.0001, "a height between pixels");
    }
    catch (const formats::Failure&)
    {
    }
    return 0;
}
