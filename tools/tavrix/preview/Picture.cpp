#include "preview/Picture.h"

#include <tavrix/platform/FileBufferOut.h>

#include "formats/OutputFile.h"
#include "preview/PngEncoder.h"

namespace tavrix::tool
{

void savePng(const Picture& picture, const std::string& path)
{
    const std::vector<unsigned char> bytes = encodePng(picture);
    const auto write = [&bytes](const std::string& name)
    {
        FileBufferOut file;
        file.open(TX_String(name));
        file.writeBuffer(bytes.data(), bytes.size());
        return file.close() == FileStatus::ok ? 0 : 1;
    };
    formats::writeFileWhole(path, write);
}

Picture sideBySide(const std::vector<Picture>& pictures)
{
    Picture all{0, pictures.front().height, {}};
    for (const Picture& picture : pictures) all.width += picture.width;
    all.rgb.reserve(std::size_t{3} * all.width * all.height);
    for (uint32 y = 0; y < all.height; ++y)
        for (const Picture& picture : pictures)
        {
            const auto row = picture.rgb.begin() + std::ptrdiff_t{3} * picture.width * y;
            all.rgb.insert(all.rgb.end(), row, row + std::ptrdiff_t{3} * picture.width);
        }
    return all;
}

}  // namespace tavrix::tool
