#pragma once

#include <tavrix/foundation/FileStreamBase.h>
#include <tavrix/platform/ByteOrder.h>

namespace tavrix
{

/// A stream over a C file whose single numbers have a byte order of their own. Formats move those through
/// ReadUInt, WriteUInt, ReadDouble and WriteDouble on the file, in the stream's byte order; `read` and
/// `write` pass bytes unchanged, so arrays keep the order of the machine that wrote them, and so does all of
/// a level set: mesh records are the one format with single numbers in the stream's order. A null file is an
/// empty stream that takes nothing.
class TX_GEOMETRY_API FileStreamEndian : public FileStreamBase
{
public:
    /// Borrows the file.
    explicit FileStreamEndian(std::FILE* file, ByteOrder order = ByteOrder::little) noexcept;
    ~FileStreamEndian() override;

    FileStreamEndian& read(void* destination, uint32 byteCount) override;
    FileStreamEndian& write(const void* source, uint32 byteCount) override;
    int64 remaining() const override;

    /// The order of single numbers in the file.
    ByteOrder getByteOrder() const noexcept { return _order; }

private:
    ByteOrder _order;
};

}  // namespace tavrix
