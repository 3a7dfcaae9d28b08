#include "formats/Bgeo.h"

#include <bit>

#include "formats/Failure.h"

namespace tavrix::formats
{

namespace
{

/// Takes big-endian numbers and texts from the front.
class BgeoBytes
{
public:
    BgeoBytes(std::string_view bytes, const std::string& path) : _bytes(bytes), _path(path) {}

    uint32 number(std::size_t size)
    {
        uint32 value = 0;
        for (const char c : take(size)) value = value << 8 | static_cast<unsigned char>(c);
        return value;
    }
    /// A text behind its length.
    std::string_view text() { return take(number(2)); }

    std::string_view take(std::size_t size)
    {
        if (size > _bytes.size()) throw Failure(_path + ": is cut off; write or copy it again");
        const std::string_view taken = _bytes.substr(0, size);
        _bytes.remove_prefix(size);
        return taken;
    }

private:
    std::string_view _bytes;
    const std::string& _path;
};

constexpr std::size_t headerEnd = 5;  ///< behind "BgeoV"
constexpr std::size_t wordSize = 4;   ///< of every value of a point

enum class AttributeType : uint32
{
    Float = 0,
    Int = 1,
    Text = 2,
    Mixed = 3,
    Index = 4,
    Vector = 5,
};

/// An attribute of the points: its type, and how many words it takes.
struct Attribute
{
    std::string name;
    uint32 size;
    AttributeType type;
};

/// Takes an attribute's definition, and the default values behind it.
Attribute readAttribute(BgeoBytes& bytes, const std::string& path)
{
    Attribute attribute{std::string(bytes.text()), bytes.number(2), AttributeType{bytes.number(4)}};
    switch (attribute.type)
    {
        case AttributeType::Float:
        case AttributeType::Int:
        case AttributeType::Vector:
            bytes.take(std::size_t{attribute.size} * wordSize);
            return attribute;
        case AttributeType::Index:
            for (uint32 texts = bytes.number(4); texts > 0; --texts) bytes.text();
            return attribute;
        case AttributeType::Text:
        case AttributeType::Mixed:
            break;
    }
    throw Failure(path + ": its attribute " + attribute.name +
                  " is of no known type; export it without that");
}

void addColumn(PointTable& table, const Attribute& attribute, const Component& first)
{
    if (attribute.type == AttributeType::Index || attribute.size == 0) return;
    Component typed = first;
    typed.type = attribute.type == AttributeType::Int ? Number::Int32 : Number::Float;
    table.columns.push_back(columnOf(attribute.name, attribute.size, typed));
}

}  // namespace

PointTable readBgeo(const Bytes& file, const std::string& path)
{
    BgeoBytes bytes(file.view(), path);
    const bool isClassic = bytes.take(headerEnd) == "BgeoV";
    if (!isClassic || bytes.number(4) != 5)
        throw Failure(path + ": is a BGEO file of another version than 5; export it as classic BGEO");
    PointTable table;
    table.count = bytes.number(4);
    bytes.take(3 * wordSize);
    const uint32 attributeCount = bytes.number(4);
    bytes.take(3 * wordSize);
    std::vector<Attribute> attributes;
    std::size_t stride = 4 * wordSize;
    for (uint32 n = 0; n < attributeCount; ++n)
    {
        attributes.push_back(readAttribute(bytes, path));
        stride += attributes.back().size * wordSize;
    }
    Component value{bytes.take(table.count * stride).data(), stride, Number::Float,
                    std::endian::native == std::endian::little};
    table.positions = columnOf("position", 3, value);
    value.data += 4 * wordSize;  // the fourth is a weight that no one sets
    for (const Attribute& attribute : attributes)
    {
        addColumn(table, attribute, value);
        value.data += attribute.size * wordSize;
    }
    table.storage.push_back(file.data);
    return table;
}

}  // namespace tavrix::formats
