#include "LevelSetFuzz.h"

using namespace tavrix;

int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    const auto load = [](auto& surface, FileStreamBase& stream) { surface.load_useRegularFormat(stream); };
    const auto save = [](const auto& surface, FileStreamBase& stream)
    { surface.save_useRegularFormat(stream); };
    fuzz::readLevelSet<float>(data, size, load, save);
    fuzz::readLevelSet<double>(data, size, load, save);
    return 0;
}
