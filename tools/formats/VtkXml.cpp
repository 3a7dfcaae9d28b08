#include "formats/VtkXml.h"

#include <algorithm>
#include <bit>
#include <optional>

#include <pugixml.hpp>

#include "formats/Failure.h"
#include "formats/TextReader.h"
#include "formats/VtkArray.h"

namespace tavrix::formats
{

namespace
{

/// The file's two parts: XML that can be parsed, and the bytes behind it.
struct Parts
{
    std::string_view xml;
    std::string_view tag;       ///< of the appended data, with their encoding
    std::string_view appended;  ///< from behind the underscore that they begin with
};

Parts partsOf(std::string_view file)
{
    const std::size_t begin = file.find("<AppendedData");
    if (begin == std::string_view::npos) return {file, {}, {}};
    const std::size_t tagEnd = std::min(file.find('>', begin), file.size());
    const std::size_t mark = std::min(file.find('_', tagEnd), file.size());
    return {file.substr(0, begin), file.substr(begin, tagEnd - begin),
            file.substr(std::min(mark + 1, file.size()))};
}

std::optional<Number> typeOf(std::string_view name)
{
    static constexpr std::pair<std::string_view, Number> names[] = {
        {"Float32", Number::Float}, {"Float64", Number::Double}, {"Int8", Number::Int8},
        {"UInt8", Number::UInt8},   {"Int16", Number::Int16},    {"UInt16", Number::UInt16},
        {"Int32", Number::Int32},   {"UInt32", Number::UInt32},  {"Int64", Number::Int64},
        {"UInt64", Number::UInt64}};
    for (const auto& [known, type] : names)
        if (name == known) return type;
    return std::nullopt;
}

class XmlReader
{
public:
    XmlReader(const Bytes& bytes, const std::string& path, VtkWish wish)
        : _bytes(bytes), _path(path), _wish(wish)
    {
    }

    std::vector<VtkPiece> read()
    {
        const pugi::xml_node dataset = readDocument();
        std::vector<VtkPiece> pieces;
        for (const pugi::xml_node node : dataset.children("Piece")) pieces.push_back(readPiece(node));
        if (pieces.empty()) refuse("holds no pieces");
        return pieces;
    }

private:
    [[noreturn]] void refuse(const std::string& what) const
    {
        throw Failure(_path + ": " + what + "; export it again");
    }

    pugi::xml_node readDocument()
    {
        const Parts parts = partsOf(_bytes.view());
        std::string xml(parts.xml);
        if (!parts.tag.empty()) xml += "</VTKFile>";
        if (!_document.load_buffer(xml.data(), xml.size())) refuse("is cut off or damaged XML");
        const pugi::xml_node root = _document.child("VTKFile");
        readEncoding(root, parts);
        const std::string_view type = root.attribute("type").value();
        if (type != "PolyData" && type != "UnstructuredGrid" && type != "StructuredGrid") refuseType(type);
        return root.child(root.attribute("type").value());
    }

    [[noreturn]] void refuseType(std::string_view type) const
    {
        if (type.starts_with("P"))
            throw Failure(_path + ": only names other files with the pieces; give one of them");
        throw Failure(_path + ": holds " + std::string(type.substr(0, 64)) +
                      ", which has no points of its own; export points, as PolyData for example");
    }

    void readEncoding(const pugi::xml_node& root, const Parts& parts)
    {
        const bool isBig = root.attribute("byte_order").value() == std::string_view("BigEndian");
        _encoding.isSwapped = isBig == (std::endian::native == std::endian::little);
        _encoding.hasWideHeaders = root.attribute("header_type").value() == std::string_view("UInt64");
        const std::string_view compressor = root.attribute("compressor").value();
        _encoding.isCompressed = !compressor.empty();
        if (!compressor.empty() && compressor != "vtkZLibDataCompressor")
            throw Failure(_path + ": is compressed by " + std::string(compressor.substr(0, 64)) +
                          "; export it with zlib or without compression");
        _encoding.isAppendedRaw = parts.tag.find("\"raw\"") != std::string_view::npos;
        _encoding.appended = parts.appended;
    }

    VtkPiece readPiece(const pugi::xml_node& node)
    {
        VtkPiece piece;
        piece.points.count = pointCount(node);
        if (_wish != VtkWish::Points) readCells(node, piece.polygons);
        if (_wish == VtkWish::Outline || piece.points.count == 0) return piece;
        piece.points.storage.push_back(_bytes.data);
        const pugi::xml_node points = node.child("Points").child("DataArray");
        if (!points) refuse("holds no points");
        addColumn(points, piece.points);
        piece.points.positions = std::move(piece.points.columns.back());
        piece.points.columns.clear();
        if (piece.points.positions.components.size() != 3)
            refuse("has points that are not of three coordinates");
        for (const pugi::xml_node array : node.child("PointData").children("DataArray"))
            if (typeOf(array.attribute("type").value())) addColumn(array, piece.points);
        return piece;
    }

    /// The number of points that the piece states, or that follows from its extent in a structured grid.
    uint32 pointCount(const pugi::xml_node& piece) const
    {
        const pugi::xml_attribute extent = piece.attribute("Extent");
        if (!extent) return Array<Vector3F>::checkedSize(piece.attribute("NumberOfPoints").as_ullong());
        TextReader text(extent.value());
        uint64 count = 1;
        for (int axis = 0; axis < 3; ++axis)
        {
            int32 first = 0, last = 0;
            if (!text.number(first) || !text.number(last) || last < first) return 0;
            count *= static_cast<uint64>(int64{last} - first) + 1;
            if (count > 0xFFFFFFFFu) refuse("states more points than it can hold");
        }
        return static_cast<uint32>(count);
    }

    // Arrays

    /// Numbers as they lie in memory, native or not.
    struct Values
    {
        Component first;
        std::size_t count;
        std::shared_ptr<const void> storage;
    };

    Values readArray(const pugi::xml_node& array) const
    {
        const std::optional<Number> type = typeOf(array.attribute("type").value());
        if (!type) refuse("has an array of an unknown type");
        const std::string_view format = array.attribute("format").value();
        if (format.empty() || format == "ascii") return parseText(array.text().get(), *type);
        const std::optional<VtkArrayBytes> decoded =
            format == "appended" ? decodeAppended(array.attribute("offset").as_ullong(), _encoding)
                                 : decodeInline(array.text().get(), _encoding);
        if (!decoded)
            throw Failure(_path + ": is cut off or damaged in the array " + array.attribute("Name").value() +
                          "; write or copy it again");
        const std::size_t size = sizeOf(*type);
        return {{decoded->bytes.data(), size, *type, _encoding.isSwapped},
                decoded->bytes.size() / size,
                decoded->storage};
    }

    template <class T>
    static Values parseNumbers(std::string_view text, Number type)
    {
        TextReader reader(text);
        const auto values = std::make_shared<std::vector<T>>();
        values->reserve(text.size() / 8);
        for (T value = 0; reader.number(value);) values->push_back(value);
        return {{reinterpret_cast<const char*>(values->data()), sizeof(T), type}, values->size(), values};
    }

    static Values parseText(std::string_view text, Number type)
    {
        const bool isFloat = type == Number::Float || type == Number::Double;
        return isFloat ? parseNumbers<float>(text, Number::Float) : parseNumbers<int64>(text, Number::Int64);
    }

    void addColumn(const pugi::xml_node& array, PointTable& table) const
    {
        const auto components = std::max<std::size_t>(array.attribute("NumberOfComponents").as_ullong(1), 1);
        Values values = readArray(array);
        if (values.count / components < table.count)
            throw Failure(_path + ": has fewer values of " + array.attribute("Name").value() +
                          " than points; write or copy it again");
        values.first.stride *= components;
        table.columns.push_back(columnOf(array.attribute("Name").value(), components, values.first));
        table.storage.push_back(std::move(values.storage));
    }

    // Cells

    Array<int64> readIntegers(const pugi::xml_node& cells, const char* name) const
    {
        const pugi::xml_node array = cells.find_child_by_attribute("DataArray", "Name", name);
        if (!array) return {};
        const Values values = readArray(array);
        return integersOf(values.first, Array<int64>::checkedSize(values.count));
    }

    void readCells(const pugi::xml_node& piece, PolygonCells& polygons) const
    {
        readCells(piece.child("Polys"), VtkCell::Polygon, polygons);
        readCells(piece.child("Strips"), VtkCell::Strip, polygons);
        const pugi::xml_node cells = piece.child("Cells");
        const Array<int64> types = readIntegers(cells, "types");
        if (std::none_of(types.begin(), types.end(), isPolygonCell)) return;
        if (_wish == VtkWish::Outline)
            polygons.ends.push_back(0);
        else
            takeCells(cells, polygons,
                      [&](std::size_t n) { return VtkCell{n < types.size() ? types[n] : 0}; });
    }

    void readCells(const pugi::xml_node& cells, VtkCell type, PolygonCells& polygons) const
    {
        if (!cells) return;
        if (_wish != VtkWish::Outline)
            return takeCells(cells, polygons, [type](std::size_t) { return type; });
        const Array<int64> offsets = readIntegers(cells, "offsets");
        if (!offsets.empty()) polygons.ends.push_back(0);
    }

    template <class TypeOfCell>
    void takeCells(const pugi::xml_node& cells, PolygonCells& polygons, const TypeOfCell& typeOfCell) const
    {
        const Array<int64> corners = readIntegers(cells, "connectivity"),
                           ends = readIntegers(cells, "offsets");
        int64 begin = 0;
        for (std::size_t n = 0; n < ends.size(); ++n)
        {
            if (ends[n] < begin || ends[n] > corners.size())
                refuse("has cells with corners that are not there");
            addCell(polygons, typeOfCell(n),
                    {corners.data() + begin, static_cast<std::size_t>(ends[n] - begin)});
            begin = ends[n];
        }
    }

    const Bytes& _bytes;
    const std::string& _path;
    VtkWish _wish;
    VtkEncoding _encoding;
    pugi::xml_document _document;
};

}  // namespace

std::vector<VtkPiece> readVtkXml(const Bytes& bytes, const std::string& path, VtkWish wish)
{
    return XmlReader(bytes, path, wish).read();
}

}  // namespace tavrix::formats
