#pragma once

#include <tavrix/foundation/FileStreamBase.h>

namespace tavrix
{

/// A stream over a C file that passes bytes unchanged: what is written has the byte order of the machine that
/// wrote it. A null file is an empty stream that takes nothing.
class TX_GEOMETRY_API FileStreamRaw : public FileStreamBase
{
public:
    /// Borrows the file.
    explicit FileStreamRaw(std::FILE* file) noexcept;
    ~FileStreamRaw() override;

    FileStreamRaw& read(void* destination, uint32 byteCount) override;
    FileStreamRaw& write(const void* source, uint32 byteCount) override;
    int64 remaining() const override;
};

}  // namespace tavrix
