#include "LevelSetFuzz.h"

using namespace tavrix;

int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    const auto load = [](auto& surface, FileStreamBase& stream) { surface.load_useSparseFormat(stream); };
    const auto save = [](const auto& surface, FileStreamBase& stream)
    { surface.save_useSparseFormat(stream); };
    fuzz::readLevelSet<float>(data, size, load, save);
    fuzz::readLevelSet<double>(data, size, load, save);
    return 0;
}
