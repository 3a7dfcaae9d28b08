#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "formats/Allowance.h"
#include "formats/Bytes.h"
#include "formats/PointTable.h"

namespace tavrix::formats
{

using Json = nlohmann::json;

/// The member of an object; null when there is none.
const Json& member(const Json& object, const char* key);

/// The elements of an accessor; the column looks at bytes that the file, or the storage, keeps.
struct GltfElements
{
    Column column;
    uint32 count = 0;
    std::shared_ptr<const void> storage{};
};

/// A glTF 2.0 file, binary or text, and what it refers to: its JSON, and typed arrays in its buffers.
class GltfFile
{
public:
    /// Reads the file and its buffers: the binary part, data URIs, and files beside it. Throws Failure when
    /// one is missing, cut off or damaged, or does not lie in the file's folder or one within, or when the
    /// file needs an extension that compresses meshes.
    explicit GltfFile(const std::string& path);

    const Json& root() const { return _root; }
    /// The element of an array of the root; null when there is none.
    const Json& item(const char* array, uint64 number) const;
    /// The member as a whole number from 0, or the other one when it is absent. Throws Failure when it is
    /// something else.
    uint64 number(const Json& object, const char* key, uint64 otherwise) const;

    /// The elements of an accessor; whole numbers that are normalised are scaled to 1. Throws Failure when it
    /// is not there, or its bytes are not.
    GltfElements elements(uint64 accessor) const;

    Allowance& allowance() const { return _allowance; }
    [[noreturn]] void refuse(const std::string& what) const;

private:
    struct View
    {
        std::string_view bytes;
        std::size_t stride;
    };

    void parse(std::string_view text);
    void readChunks(std::string_view file);
    void refuseCompression() const;
    void readBuffers();
    Bytes readBuffer(const Json& buffer, bool isFirst) const;
    Bytes readBeside(const std::string& uri) const;
    View view(uint64 number) const;
    const char* place(const View& view, uint64 offset, uint64 count, std::size_t stride,
                      std::size_t size) const;
    GltfElements denseElements(const Json& accessor, Number type, std::size_t components) const;
    void replaceSparse(const Json& sparse, GltfElements& elements, std::size_t size) const;

    std::string _path;
    Bytes _file;
    std::string_view _binary;
    Json _root;
    std::vector<Bytes> _buffers;
    mutable Allowance _allowance;
};

}  // namespace tavrix::formats
