#pragma once

#include <cstddef>
#include <vector>

#include <tavrix/foundation/FileStreamBase.h>

namespace tavrix
{

/// A stream over a block of memory of its own, so that what goes to a file goes to a buffer too. Bytes pass
/// unchanged. Writing appends to the block, which grows by doubling; reading goes on from where the last read
/// ended, and `rewind` takes it back to the start. It has no C file to give.
class TX_GEOMETRY_API FileRam : public FileStreamBase
{
public:
    FileRam() noexcept;
    /// Holds a copy of the bytes, to be read.
    FileRam(const void* bytes, std::size_t byteCount);
    ~FileRam() override;

    FileRam& read(void* destination, uint32 byteCount) override;
    FileRam& write(const void* source, uint32 byteCount) override;
    int64 remaining() const override;

    /// The next read begins at the start.
    void rewind() noexcept { _next = 0; }
    /// Empties the block.
    void clear() noexcept;

    /// All bytes of the block; they move when it grows.
    /// @{
    const unsigned char* data() const noexcept { return _bytes.data(); }
    std::size_t size() const noexcept { return _bytes.size(); }
    /// @}

private:
    std::vector<unsigned char> _bytes;
    std::size_t _next = 0;  ///< first byte not read
};

}  // namespace tavrix
