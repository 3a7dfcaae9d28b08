#include "formats/Ply.h"

#include <algorithm>
#include <bit>
#include <optional>

#include "formats/Failure.h"
#include "formats/TextReader.h"

namespace tavrix::formats
{

namespace
{

struct Property
{
    std::string name;
    Number type;
    std::optional<Number> countType;  ///< of lists: the type of their length
};

struct Element
{
    std::string name;
    uint64 count;
    std::vector<Property> properties;

    bool hasLists() const
    {
        return std::any_of(properties.begin(), properties.end(),
                           [](const Property& p) { return p.countType; });
    }
};

enum class Format
{
    Ascii,
    LittleEndian,
    BigEndian,
};

struct PlyHeader
{
    Format format = Format::Ascii;
    std::vector<Element> elements;
};

[[noreturn]] void refuse(const std::string& path, const std::string& what)
{
    throw Failure(path + ": is a damaged PLY file: " + what + "; export it again");
}

std::optional<Number> typeOf(std::string_view name)
{
    static constexpr std::pair<std::string_view, Number> names[] = {
        {"float", Number::Float},    {"float32", Number::Float}, {"double", Number::Double},
        {"float64", Number::Double}, {"char", Number::Int8},     {"int8", Number::Int8},
        {"uchar", Number::UInt8},    {"uint8", Number::UInt8},   {"short", Number::Int16},
        {"int16", Number::Int16},    {"ushort", Number::UInt16}, {"uint16", Number::UInt16},
        {"int", Number::Int32},      {"int32", Number::Int32},   {"uint", Number::UInt32},
        {"uint32", Number::UInt32}};
    for (const auto& [known, type] : names)
        if (name == known) return type;
    return std::nullopt;
}

Number typeIn(TextReader& line, const std::string& path)
{
    const std::string_view name = line.word();
    const std::optional<Number> type = typeOf(name);
    if (!type) refuse(path, "the type " + std::string(name.substr(0, 32)) + " is not known");
    return *type;
}

Property propertyIn(TextReader& line, const std::string& path)
{
    Property property;
    const TextReader before = line;
    if (line.word() == "list")
        property.countType = typeIn(line, path);
    else
        line = before;
    property.type = typeIn(line, path);
    property.name = line.word();
    return property;
}

/// Reads the header, and leaves the text at the first element.
PlyHeader readHeader(TextReader& text, const std::string& path)
{
    PlyHeader header;
    text.line();
    while (!text.isAtEnd())
    {
        TextReader line(text.line());
        const std::string_view keyword = line.word();
        if (keyword == "end_header") return header;
        if (keyword == "format")
        {
            const std::string_view format = line.word();
            header.format = format == "ascii"                  ? Format::Ascii
                            : format == "binary_little_endian" ? Format::LittleEndian
                            : format == "binary_big_endian"
                                ? Format::BigEndian
                                : (refuse(path, "its format is not known"), Format::Ascii);
        }
        else if (keyword == "element")
        {
            Element element{std::string(line.word()), 0, {}};
            if (!line.number(element.count)) refuse(path, "a count is missing");
            header.elements.push_back(std::move(element));
        }
        else if (keyword == "property" && !header.elements.empty())
            header.elements.back().properties.push_back(propertyIn(line, path));
    }
    refuseCut(path);
}

/// Reads the values of elements one by one.
class ValueReader
{
public:
    ValueReader(TextReader& text, Format format, const std::string& path)
        : _text(text), _isAscii(format == Format::Ascii), _path(path)
    {
        _isSwapped = (format == Format::BigEndian) == (std::endian::native == std::endian::little);
    }

    bool isAscii() const { return _isAscii; }
    bool isSwapped() const { return _isSwapped; }
    std::size_t remaining() const { return _text.remaining(); }

    std::string_view bytes(std::size_t size)
    {
        if (size > _text.remaining()) refuseCut(_path);
        return _text.bytes(size);
    }

    /// Comes before the values of each element, which as text have a line of their own; what else stands on
    /// it is passed over.
    void beginElement()
    {
        while (_isAscii && _line.skipBlanks().isAtEnd())
        {
            if (_text.isAtEnd()) refuseCut(_path);
            _line = TextReader(_text.line());
        }
    }
    void endElement() { _line = TextReader({}); }

    template <class T>
    T value(Number type)
    {
        if (!_isAscii) return binaryValue<T>(type);
        T number = 0;
        if (_line.number(number)) return number;
        if (_text.isAtEnd()) refuseCut(_path);
        refuse(_path, "a number is missing");
    }

    /// The length of a list: not below 0, and no more than the file could hold.
    std::size_t length(const Property& property)
    {
        const auto length = value<int64>(*property.countType);
        const std::size_t size = _isAscii ? 1 : sizeOf(property.type);
        if (length < 0) refuse(_path, "a list has a length below 0");
        const std::size_t room = (_isAscii ? _line : _text).remaining();
        if (static_cast<uint64>(length) > room / size) refuseCut(_path);
        return static_cast<std::size_t>(length);
    }

    void skip(const Property& property)
    {
        const std::size_t values = property.countType ? length(property) : 1;
        if (!_isAscii) return static_cast<void>(bytes(values * sizeOf(property.type)));
        for (std::size_t n = 0; n < values; ++n) _line.word();
    }

private:
    template <class T>
    T binaryValue(Number type)
    {
        const Component component{bytes(sizeOf(type)).data(), 0, type, _isSwapped};
        if constexpr (std::is_integral_v<T>)
            return firstInteger(component);
        else
            return firstFloat(component);
    }

    TextReader& _text;
    TextReader _line{{}};
    bool _isAscii;
    bool _isSwapped;
    const std::string& _path;
};

/// No count is believed beyond what the file could hold.
void confirmCount(const Element& element, const ValueReader& values, const std::string& path)
{
    std::size_t least = 0;
    for (const Property& property : element.properties)
        least += values.isAscii() ? 2 : sizeOf(property.countType.value_or(property.type));
    if (least > 0 && element.count > (values.remaining() + 1) / least) refuseCut(path);
}

void skipElement(const Element& element, ValueReader& values)
{
    if (element.properties.empty()) return;
    if (!values.isAscii() && !element.hasLists())
    {
        std::size_t stride = 0;
        for (const Property& property : element.properties) stride += sizeOf(property.type);
        values.bytes(stride * static_cast<std::size_t>(element.count));
        return;
    }
    for (uint64 n = 0; n < element.count; ++n)
    {
        values.beginElement();
        for (const Property& property : element.properties) values.skip(property);
        values.endElement();
    }
}

/// Binary vertices without lists are looked at where they lie.
void viewVertices(const Element& element, ValueReader& values, PointTable& table)
{
    std::size_t stride = 0;
    for (const Property& property : element.properties) stride += sizeOf(property.type);
    const char* next = values.bytes(stride * table.count).data();
    for (const Property& property : element.properties)
    {
        table.columns.push_back({property.name, {{next, stride, property.type, values.isSwapped()}}});
        next += sizeOf(property.type);
    }
}

void parseVertices(const Element& element, ValueReader& values, PointTable& table)
{
    std::vector<const Property*> kept;
    for (const Property& property : element.properties)
        if (!property.countType) kept.push_back(&property);
    const std::shared_ptr<float[]> numbers(new float[kept.size() * table.count]);
    float* next = numbers.get();
    for (uint32 n = 0; n < table.count; ++n)
    {
        values.beginElement();
        for (const Property& property : element.properties)
            if (property.countType)
                values.skip(property);
            else
                *next++ = values.value<float>(property.type);
        values.endElement();
    }
    for (std::size_t n = 0; n < kept.size(); ++n)
    {
        Component component{reinterpret_cast<const char*>(numbers.get() + n), kept.size() * sizeof(float),
                            Number::Float};
        // colours in bytes are told by their type, which the parsed numbers no longer have
        const std::string& name = kept[n]->name;
        const bool isColor = name == "red" || name == "green" || name == "blue";
        if (isColor && kept[n]->type == Number::UInt8) component.divisor = 255;
        table.columns.push_back({name, {component}});
    }
    table.storage.push_back(numbers);
}

void readVertices(const Element& element, ValueReader& values, const std::string& path, PointTable& table)
{
    table.count = Array<float>::checkedSize(static_cast<std::size_t>(element.count));
    if (element.properties.empty() || table.count == 0) refuse(path, "it has no vertices");
    if (values.isAscii() || element.hasLists())
        parseVertices(element, values, table);
    else
        viewVertices(element, values, table);
}

bool isCorners(const Property& property)
{
    return property.countType && (property.name == "vertex_indices" || property.name == "vertex_index");
}

/// A strip of strips: each ends before a corner below 0.
void addStrips(PolygonCells& polygons, std::span<const int64> corners)
{
    while (!corners.empty())
    {
        const auto end =
            std::find_if(corners.begin(), corners.end(), [](int64 corner) { return corner < 0; });
        const auto size = static_cast<std::size_t>(end - corners.begin());
        addCell(polygons, VtkCell::Strip, corners.first(size));
        corners = corners.subspan(std::min(size + 1, corners.size()));
    }
}

void readList(const Property& property, ValueReader& values, std::vector<int64>& corners)
{
    corners.resize(values.length(property));
    for (int64& corner : corners) corner = values.value<int64>(property.type);
}

void readFaces(const Element& element, ValueReader& values, VtkCell type, PolygonCells& polygons)
{
    std::vector<int64> corners;
    for (uint64 n = 0; n < element.count; ++n)
    {
        values.beginElement();
        corners.clear();
        for (const Property& property : element.properties)
            if (isCorners(property))
                readList(property, values, corners);
            else
                values.skip(property);
        values.endElement();
        if (type == VtkCell::Strip)
            addStrips(polygons, corners);
        else
            addCell(polygons, type, corners);
    }
}

bool isPolygons(const Element& element) { return element.name == "face" || element.name == "tristrips"; }

}  // namespace

PlyData readPly(const Bytes& bytes, const std::string& path, bool withPolygons)
{
    TextReader text(bytes.view());
    const PlyHeader header = readHeader(text, path);
    ValueReader values(text, header.format, path);
    PlyData data;
    for (const Element& element : header.elements)
    {
        confirmCount(element, values, path);
        if (element.name == "vertex" && data.points.columns.empty())
            readVertices(element, values, path, data.points);
        else if (withPolygons && isPolygons(element) && !element.properties.empty())
            readFaces(element, values, element.name == "face" ? VtkCell::Polygon : VtkCell::Strip,
                      data.polygons);
        else if (!withPolygons && !data.points.columns.empty())
            break;
        else
            skipElement(element, values);
    }
    if (data.points.columns.empty()) refuse(path, "it has no vertices");
    data.points.storage.push_back(bytes.data);
    return data;
}

bool plyHoldsPolygons(std::string_view file, const std::string& path)
{
    TextReader text(file);
    const PlyHeader header = readHeader(text, path);
    return std::any_of(header.elements.begin(), header.elements.end(),
                       [](const Element& element) { return isPolygons(element) && element.count > 0; });
}

}  // namespace tavrix::formats
