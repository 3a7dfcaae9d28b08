// The one place that compiles stb_image_write; a file of its own, for the warnings of that header.

#include "preview/PngEncoder.h"

#include <new>

#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#endif
#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STBI_WRITE_NO_STDIO
#include <stb_image_write.h>
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

namespace tavrix::tool
{

namespace
{

void append(void* bytes, void* data, int size)
{
    const auto* begin = static_cast<const unsigned char*>(data);
    auto& all = *static_cast<std::vector<unsigned char>*>(bytes);
    all.insert(all.end(), begin, begin + size);
}

}  // namespace

std::vector<unsigned char> encodePng(const Picture& picture)
{
    std::vector<unsigned char> bytes;
    const auto width = static_cast<int>(picture.width), height = static_cast<int>(picture.height);
    if (stbi_write_png_to_func(append, &bytes, width, height, 3, picture.rgb.data(), 3 * width) == 0)
        throw std::bad_alloc();
    return bytes;
}

}  // namespace tavrix::tool
