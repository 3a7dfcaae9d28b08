#include "formats/GltfFile.h"

#include <array>
#include <cstring>
#include <filesystem>
#include <limits>

#include "formats/Base64.h"
#include "formats/Failure.h"
#include "formats/FileName.h"

namespace tavrix::formats
{

namespace
{

constexpr std::size_t headerSize = 12, chunkHeaderSize = 8;

uint32 numberAt(std::string_view bytes, std::size_t offset)
{
    uint32 number = 0;
    for (std::size_t n = 4; n-- > 0;) number = number << 8 | static_cast<unsigned char>(bytes[offset + n]);
    return number;
}

const Json& none()
{
    static const Json null;
    return null;
}

std::string textOf(const Json& value) { return value.is_string() ? value.get<std::string>() : std::string(); }

std::size_t componentsOf(const std::string& type)
{
    if (type == "SCALAR") return 1;
    if (type == "VEC2") return 2;
    if (type == "VEC3") return 3;
    return type == "VEC4" ? 4 : 0;
}

/// The percent signs of a URI as the characters that they stand for.
std::string decoded(const std::string& uri)
{
    const auto digit = [](char c) {
        return c >= '0' && c <= '9' ? c - '0' : (c | 32) >= 'a' && (c | 32) <= 'f' ? (c | 32) - 'a' + 10 : -1;
    };
    std::string name;
    for (std::size_t n = 0; n < uri.size(); ++n)
    {
        const bool isEscape =
            uri[n] == '%' && n + 2 < uri.size() && digit(uri[n + 1]) >= 0 && digit(uri[n + 2]) >= 0;
        name += isEscape ? static_cast<char>(digit(uri[n + 1]) * 16 + digit(uri[n + 2])) : uri[n];
        n += isEscape ? 2 : 0;
    }
    return name;
}

/// Whether a relative name stays in its folder.
bool staysWithin(const std::string& name)
{
    if (name.find('\\') != std::string::npos || name.find(':') != std::string::npos ||
        name.find('\0') != std::string::npos)
        return false;
    const std::filesystem::path path = pathOf(name);
    if (name.empty() || path.has_root_path()) return false;
    for (const std::filesystem::path& part : path)
        if (part == "..") return false;
    return true;
}

}  // namespace

const Json& member(const Json& object, const char* key)
{
    if (!object.is_object()) return none();
    const auto found = object.find(key);
    return found == object.end() ? none() : *found;
}

void GltfFile::refuse(const std::string& what) const { throw Failure(_path + ": " + what); }

GltfFile::GltfFile(const std::string& path)
    : _path(path), _file(readBytes(path)), _allowance(_file.size, path)
{
    const std::string_view file = _file.view();
    if (file.starts_with("glTF"))
        readChunks(file);
    else
        parse(file);
    if (!textOf(member(member(_root, "asset"), "version")).starts_with('2'))
        refuse("is no glTF file of version 2; export it as such");
    refuseCompression();
    readBuffers();
}

void GltfFile::parse(std::string_view text)
{
    // what lies deeper means nothing here, and would take many times its characters
    const auto isShallow = [](int depth, Json::parse_event_t, const Json&) { return depth < 64; };
    _root = Json::parse(text, isShallow, false);
    if (!_root.is_object()) refuse("is cut off or damaged JSON; export it again");
}

void GltfFile::readChunks(std::string_view file)
{
    constexpr uint32 jsonChunk = 0x4E4F534A, binaryChunk = 0x004E4942;
    if (file.size() < headerSize + chunkHeaderSize || file.size() < numberAt(file, 8))
        refuse("is cut off; write or copy it again");
    for (std::size_t place = headerSize; file.size() - place >= chunkHeaderSize;)
    {
        const std::size_t size = numberAt(file, place);
        const uint32 type = numberAt(file, place + 4);
        place += chunkHeaderSize;
        if (file.size() - place < size) refuse("is cut off; write or copy it again");
        if (type == jsonChunk && _root.is_null()) parse(file.substr(place, size));
        if (type == binaryChunk && !_binary.data()) _binary = file.substr(place, size);
        place += size;
    }
    if (_root.is_null()) refuse("is a damaged glTF file; export it again");
}

void GltfFile::refuseCompression() const
{
    const Json& needed = member(_root, "extensionsRequired");
    if (!needed.is_array()) return;
    for (const Json& extension : needed)
        for (const char* compression :
             {"KHR_draco_mesh_compression", "EXT_meshopt_compression", "KHR_meshopt_compression"})
            if (textOf(extension) == compression)
                refuse("is compressed by " + std::string(compression) + "; export it without compression");
}

void GltfFile::readBuffers()
{
    const Json& buffers = member(_root, "buffers");
    if (!buffers.is_array()) return;
    for (const Json& buffer : buffers) _buffers.push_back(readBuffer(buffer, _buffers.empty()));
}

Bytes GltfFile::readBuffer(const Json& buffer, bool isFirst) const
{
    const std::string uri = textOf(member(buffer, "uri"));
    Bytes bytes;
    if (uri.empty() && isFirst)
        bytes = {{_file.data, _binary.data()}, _binary.size()};
    else if (uri.starts_with("data:"))
    {
        const std::string_view text =
            std::string_view(uri).substr(std::min(uri.find(','), uri.size() - 1) + 1);
        const Base64Bytes found = decodeBase64(text, text.size() / 4 * 3 + 3);
        bytes = {{found.data, found.data.get()}, found.size};
    }
    else if (!uri.empty())
        bytes = readBeside(decoded(uri));
    if (bytes.size < number(buffer, "byteLength", 0))
        refuse("is cut off: a buffer has fewer bytes than it should; export it again");
    return bytes;
}

Bytes GltfFile::readBeside(const std::string& name) const
{
    if (!staysWithin(name)) refuse("refers to " + name + ", which is not in its folder; put it there");
    Bytes bytes = readBytes(utf8Of(pathOf(_path).parent_path() / pathOf(name)));
    _allowance.add(bytes.size);
    return bytes;
}

const Json& GltfFile::item(const char* array, uint64 number) const
{
    const Json& items = member(_root, array);
    return items.is_array() && number < items.size() ? items[number] : none();
}

uint64 GltfFile::number(const Json& object, const char* key, uint64 otherwise) const
{
    const Json& value = member(object, key);
    if (value.is_null()) return otherwise;
    if (value.is_number_unsigned()) return value.get<uint64>();
    const double real = value.is_number() ? value.get<double>() : -1;
    if (!(real >= 0 && real < 1e15))
        refuse("is damaged: its " + std::string(key) + " is no count; export it again");
    return static_cast<uint64>(real);
}

GltfFile::View GltfFile::view(uint64 index) const
{
    const Json& view = item("bufferViews", index);
    const uint64 buffer = number(view, "buffer", noIndex), offset = number(view, "byteOffset", 0);
    const uint64 length = number(view, "byteLength", 0);
    if (buffer >= _buffers.size() || offset > _buffers[buffer].size ||
        length > _buffers[buffer].size - offset)
        refuse("is damaged: it names bytes that it does not have; export it again");
    return {_buffers[buffer].view().substr(offset, length), number(view, "byteStride", 0)};
}

/// Where elements begin in a view, which must hold all of them.
const char* GltfFile::place(const View& view, uint64 offset, uint64 count, std::size_t stride,
                            std::size_t size) const
{
    const uint64 available = view.bytes.size();
    const bool fits = stride >= size && offset <= available && available - offset >= size &&
                      (available - offset - size) / stride >= count - 1;
    if (!fits) refuse("is damaged: it names elements that it does not have; export it again");
    return view.bytes.data() + offset;
}

GltfElements GltfFile::denseElements(const Json& accessor, Number type, std::size_t components) const
{
    const uint64 count = number(accessor, "count", 0);
    const std::size_t size = sizeOf(type) * components;
    GltfElements elements{{}, static_cast<uint32>(count)};
    Component first{nullptr, size, type};
    if (member(accessor, "bufferView").is_null())
    {
        _allowance.take(count * size);
        std::shared_ptr<char[]> zeros(new char[count * size]());
        first.data = zeros.get();
        elements.storage = zeros;
    }
    else
    {
        const View bytes = view(number(accessor, "bufferView", 0));
        if (bytes.stride > 0) first.stride = bytes.stride;
        first.data = place(bytes, number(accessor, "byteOffset", 0), count, first.stride, size);
    }
    elements.column = columnOf({}, components, first);
    return elements;
}

/// Gives the elements that a sparse accessor lists the values beside.
void GltfFile::replaceSparse(const Json& sparse, GltfElements& elements, std::size_t size) const
{
    const uint64 count = number(sparse, "count", 0);
    if (count == 0 || count > elements.count) return;
    const Json &indices = member(sparse, "indices"), &values = member(sparse, "values");
    const uint64 indexType = number(indices, "componentType", 0);
    const Number type = indexType == 5121   ? Number::UInt8
                        : indexType == 5123 ? Number::UInt16
                                            : Number::UInt32;
    const View indexBytes = view(number(indices, "bufferView", noIndex));
    const View valueBytes = view(number(values, "bufferView", noIndex));
    const Component numbers{
        place(indexBytes, number(indices, "byteOffset", 0), count, sizeOf(type), sizeOf(type)), sizeOf(type),
        type};
    const char* value = place(valueBytes, number(values, "byteOffset", 0), count, size, size);

    _allowance.take(uint64{elements.count} * size);
    const std::shared_ptr<char[]> changed(new char[elements.count * size]);
    const Component first = elements.column.components[0];
    for (std::size_t n = 0; n < elements.count; ++n)
        std::memcpy(changed.get() + n * size, first.data + n * first.stride, size);
    for (const int64 index : integersOf(numbers, static_cast<uint32>(count)))
    {
        if (index < 0 || index >= elements.count)
            refuse("is damaged: it changes elements that are not there");
        std::memcpy(changed.get() + static_cast<std::size_t>(index) * size, value, size);
        value += size;
    }
    elements.column = columnOf({}, elements.column.components.size(), {changed.get(), size, first.type});
    elements.storage = changed;
}

GltfElements GltfFile::elements(uint64 index) const
{
    struct Type
    {
        Number number;
        float largest;
    };
    static constexpr std::array<Type, 7> types{{{Number::Int8, 127},
                                                {Number::UInt8, 255},
                                                {Number::Int16, 32767},
                                                {Number::UInt16, 65535},
                                                {Number::Int32, 0},
                                                {Number::UInt32, 0},
                                                {Number::Float, 0}}};
    const Json& accessor = item("accessors", index);
    const std::size_t components = componentsOf(textOf(member(accessor, "type")));
    const uint64 type = number(accessor, "componentType", 0) - 5120, count = number(accessor, "count", 0);
    if (components == 0 || count == 0) return {};
    if (type >= types.size() || count >= noIndex)
        refuse("is damaged: it has elements of no known type or number; export it again");
    GltfElements elements = denseElements(accessor, types[type].number, components);
    if (const Json& sparse = member(accessor, "sparse"); sparse.is_object())
        replaceSparse(sparse, elements, sizeOf(types[type].number) * components);
    if (member(accessor, "normalized") == true && types[type].largest > 0)
        for (Component& component : elements.column.components) component.divisor = types[type].largest;
    return elements;
}

}  // namespace tavrix::formats
