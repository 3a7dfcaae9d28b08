#pragma once

#include <tavrix/foundation/FileStreamBaseBuffered.h>

namespace tavrix
{

/// A buffered stream that passes bytes unchanged: `read` takes them from the buffer to read, `write` hands
/// them to the buffer to write. Without one, nothing moves.
class TX_GEOMETRY_API FileStreamRawBuffered : public FileStreamBaseBuffered
{
public:
    FileStreamRawBuffered() noexcept;
    ~FileStreamRawBuffered() override;

    FileStreamRawBuffered& read(void* destination, uint32 byteCount) override;
    FileStreamRawBuffered& write(const void* source, uint32 byteCount) override;
};

}  // namespace tavrix
