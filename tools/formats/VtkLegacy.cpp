#include "formats/VtkLegacy.h"

#include <algorithm>
#include <bit>
#include <optional>
#include <utility>

#include "formats/Failure.h"
#include "formats/TextReader.h"

namespace tavrix::formats
{

namespace
{

struct TypeName
{
    std::string_view name;
    Number type;
};

constexpr TypeName typeNames[] = {
    {"float", Number::Float},         {"double", Number::Double},
    {"int", Number::Int32},           {"vtkidtype", Number::Int32},
    {"unsigned_char", Number::UInt8}, {"char", Number::Int8},
    {"signed_char", Number::Int8},    {"unsigned_short", Number::UInt16},
    {"short", Number::Int16},         {"unsigned_int", Number::UInt32},
    {"long", Number::Int64},          {"unsigned_long", Number::UInt64},
    {"vtktypeint64", Number::Int64},  {"vtktypeuint64", Number::UInt64},
};

constexpr bool isLittleEndian = std::endian::native == std::endian::little;

/// Names are written with %XX for what is not a plain character.
std::string decodedName(std::string_view name)
{
    std::string text;
    for (std::size_t n = 0; n < name.size(); ++n)
    {
        uint32 code = 0;
        const bool isCode =
            name[n] == '%' && n + 2 < name.size() &&
            std::from_chars(name.data() + n + 1, name.data() + n + 3, code, 16).ptr == name.data() + n + 3;
        text += isCode ? static_cast<char>(code) : name[n];
        if (isCode) n += 2;
    }
    return text;
}

class LegacyReader
{
public:
    LegacyReader(const Bytes& bytes, const std::string& path, VtkWish wish)
        : _bytes(bytes), _text(bytes.view()), _path(path), _wish(wish)
    {
    }

    VtkPiece read()
    {
        readHeader();
        for (std::string_view keyword = _text.word(); !keyword.empty(); keyword = _text.word())
            if (!readSection(keyword)) break;
        if (_piece.points.positions.components.empty()) refuse("holds no points");
        _piece.points.storage.push_back(_bytes.data);
        return std::move(_piece);
    }

private:
    enum class Scope
    {
        Dataset,
        Points,
        Cells,
    };

    [[noreturn]] void refuse(const std::string& what) const
    {
        throw Failure(_path + ": " + what + "; export it again");
    }
    [[noreturn]] void refuseCut() const { throw Failure(_path + ": is cut off; write or copy it again"); }

    void readHeader()
    {
        _text.line();
        _text.line();
        const std::string_view encoding = _text.word();
        _isBinary = equalsWord(encoding, "binary");
        if (!_isBinary && !equalsWord(encoding, "ascii"))
            refuse("is a VTK file that is neither ASCII nor BINARY");
    }

    std::size_t stated()
    {
        uint64 value = 0;
        if (!_text.number(value)) refuse("is a damaged VTK file: a count is missing");
        return static_cast<std::size_t>(value);
    }

    /// A count of what takes a bit at least: no more than the rest of the file could hold.
    std::size_t count()
    {
        const std::size_t value = stated();
        if (value / 8 > _text.remaining()) refuseCut();
        return value;
    }

    /// False when nothing that follows is wanted.
    bool readSection(std::string_view keyword)
    {
        const auto is = [keyword](std::string_view small) { return equalsWord(keyword, small); };
        if (is("dataset"))
            readDataset();
        else if (is("dimensions"))
            _text.line();
        else if (is("points"))
            readPoints();
        else if (is("vertices") || is("lines"))
            readCells(std::nullopt);
        else if (is("polygons"))
            readCells(VtkCell::Polygon);
        else if (is("triangle_strips"))
            readCells(VtkCell::Strip);
        else if (is("cells"))
            readCells(VtkCell{});
        else if (is("cell_types"))
            readCellTypes();
        else if (is("metadata"))
            skipMetadata();
        else if (is("point_data"))
            return enterPointData();
        else if (is("cell_data"))
            _scope = Scope::Cells, _values = stated();
        else
            readAttribute(keyword);
        // attributes of points may follow those of cells
        return true;
    }

    void readDataset()
    {
        const std::string_view type = _text.word();
        if (!equalsWord(type, "polydata") && !equalsWord(type, "unstructured_grid") &&
            !equalsWord(type, "structured_grid"))
            throw Failure(_path + ": holds " + std::string(type) +
                          ", which has no points of its own; export points, as PolyData for example");
    }

    void readPoints()
    {
        _piece.points.count = Array<Vector3F>::checkedSize(count());
        const std::string_view type = _text.word();
        const Component first = readNumbers(type, std::size_t{_piece.points.count} * 3, 3);
        _piece.points.positions = columnOf("position", 3, first);
    }

    // Cells

    /// Cells of one type, or, with type 0, of the types that follow; no type: cells that are not wanted.
    void readCells(std::optional<VtkCell> type)
    {
        const std::size_t cells = count(), size = count();
        const TextReader before = _text;
        const bool hasOffsets = equalsWord(_text.word(), "offsets");
        if (!hasOffsets) _text = before;
        const bool isWanted = type && (_wish == VtkWish::Polygons || *type == VtkCell{});
        if (type && *type != VtkCell{} && _wish == VtkWish::Outline)
            countPolygons(hasOffsets ? (cells > 1 ? 1 : 0) : cells);
        if (hasOffsets)
        {
            const Array<int64> offsets = readIntegers(_text.word(), cells, isWanted);
            if (!equalsWord(_text.word(), "connectivity"))
                refuse("is a damaged VTK file: cells have no corners");
            const Array<int64> corners = readIntegers(_text.word(), size, isWanted);
            if (isWanted) takeOffsets(*type, offsets, corners);
        }
        else
        {
            const Array<int64> corners = readIntegers("int", size, isWanted);
            if (isWanted) takeCounted(*type, corners, cells);
        }
    }

    void countPolygons(std::size_t cells)
    {
        if (cells > 0) _piece.polygons.ends.push_back(0);
    }

    void takeOffsets(VtkCell type, const Array<int64>& offsets, const Array<int64>& corners)
    {
        for (std::size_t n = 0; n + 1 < offsets.size(); ++n)
        {
            const int64 begin = offsets[n], end = offsets[n + 1];
            if (begin < 0 || end < begin || end > corners.size())
                refuse("is a damaged VTK file: cells have corners that are not there");
            takeCell(type, {corners.data() + begin, static_cast<std::size_t>(end - begin)});
        }
    }

    /// Each cell's corners stand behind their number.
    void takeCounted(VtkCell type, const Array<int64>& numbers, std::size_t cells)
    {
        std::size_t next = 0;
        for (std::size_t n = 0; n < cells && next < numbers.size(); ++n)
        {
            const int64 size = numbers[next++];
            if (size < 0 || static_cast<uint64>(size) > numbers.size() - next)
                refuse("is a damaged VTK file: cells have corners that are not there");
            takeCell(type, {numbers.data() + next, static_cast<std::size_t>(size)});
            next += static_cast<std::size_t>(size);
        }
    }

    void takeCell(VtkCell type, std::span<const int64> corners)
    {
        if (type != VtkCell{}) return addCell(_piece.polygons, type, corners);
        for (const int64 corner : corners) _cells.corners.push_back(corner);
        _cells.ends.push_back(_cells.corners.size());
    }

    void readCellTypes()
    {
        const Array<int64> types = readIntegers("int", count(), _wish != VtkWish::Points);
        if (_wish == VtkWish::Outline)
            countPolygons(std::any_of(types.begin(), types.end(), isPolygonCell) ? 1 : 0);
        if (_wish != VtkWish::Polygons) return;
        const std::span<const int64> corners(_cells.corners.data(), _cells.corners.size());
        for (std::size_t n = 0; n < std::min(types.size(), _cells.ends.size()); ++n)
        {
            const uint32 begin = n == 0 ? 0 : _cells.ends[n - 1];
            addCell(_piece.polygons, VtkCell{types[n]}, corners.subspan(begin, _cells.ends[n] - begin));
        }
    }

    // Attributes

    bool enterPointData()
    {
        _scope = Scope::Points;
        _values = stated();
        return _wish != VtkWish::Outline;
    }

    void skipMetadata()
    {
        _text.line();
        while (!_text.isAtEnd() && !_text.line().empty()) {}
    }

    void readAttribute(std::string_view keyword)
    {
        struct Kind
        {
            std::string_view name;
            std::size_t components;
        };
        static constexpr Kind kinds[] = {{"vectors", 3},  {"normals", 3},    {"tensors", 9},
                                         {"tensors6", 6}, {"global_ids", 1}, {"pedigree_ids", 1}};
        if (equalsWord(keyword, "field")) return readField();
        if (equalsWord(keyword, "scalars")) return readScalars();
        if (equalsWord(keyword, "color_scalars")) return readColors();
        if (equalsWord(keyword, "lookup_table")) return readLookupTable();
        if (equalsWord(keyword, "texture_coordinates"))
        {
            const std::string_view name = _text.word();
            const std::size_t components = count();
            return readValues(name, _text.word(), components);
        }
        for (const Kind& kind : kinds)
            if (equalsWord(keyword, kind.name))
            {
                const std::string_view name = _text.word();
                return readValues(name, _text.word(), kind.components);
            }
        refuse("is a damaged VTK file: " + std::string(keyword.substr(0, 32)) + " is not known");
    }

    void readScalars()
    {
        const std::string_view name = _text.word(), type = _text.word();
        std::size_t components = 1;
        if (TextReader rest(_text.line()); !rest.number(components)) components = 1;
        const TextReader next = _text;
        const bool hasTable = equalsWord(_text.word(), "lookup_table");
        // whoever leaves the table out has the values begin here
        if (hasTable)
            _text.word();
        else
            _text = next, _isPastLine = true;
        readValues(name, type, components);
    }

    void readColors()
    {
        const std::string_view name = _text.word();
        const std::size_t components = count();
        readValues(name, _isBinary ? "unsigned_char" : "float", components, _isBinary ? 255.0f : 1.0f);
    }

    void readLookupTable()
    {
        _text.word();
        skipNumbers(_isBinary ? "unsigned_char" : "float", 4 * count());
    }

    void readField()
    {
        _text.word();
        const std::size_t arrays = count();
        for (std::size_t n = 0; n < arrays; ++n)
        {
            std::string_view name = _text.word();
            while (equalsWord(name, "metadata")) skipMetadata(), name = _text.word();
            const std::size_t components = count(), tuples = count();
            readValues(name, _text.word(), components, 1, tuples);
        }
    }

    void readValues(std::string_view name, std::string_view type, std::size_t components, float divisor = 1,
                    std::optional<std::size_t> given = {})
    {
        const std::size_t tuples = given.value_or(_scope == Scope::Dataset ? 0 : _values);
        const std::size_t largest = _text.remaining() * 8 + 8;
        if (components > 0 && tuples > largest / components) refuseCut();
        const bool isWanted = _scope == Scope::Points && _wish != VtkWish::Outline && typeOf(type) &&
                              tuples == _piece.points.count && components > 0;
        if (!isWanted) return skipNumbers(type, tuples * components);
        Component first = readNumbers(type, tuples * components, components);
        first.divisor = divisor;
        _piece.points.columns.push_back(columnOf(decodedName(name), components, first));
    }

    // Numbers

    static std::optional<Number> typeOf(std::string_view name)
    {
        for (const TypeName& type : typeNames)
            if (equalsWord(name, type.name)) return type.type;
        return std::nullopt;
    }

    /// Passes the end of the line behind which numbers begin.
    void passLine()
    {
        if (!std::exchange(_isPastLine, false)) _text.line();
    }

    std::string_view takeBytes(std::size_t size)
    {
        passLine();
        if (size > _text.remaining()) refuseCut();
        return _text.bytes(size);
    }

    /// So many numbers that belong to points, each of some components.
    Component readNumbers(std::string_view typeName, std::size_t numbers, std::size_t components)
    {
        const std::optional<Number> type = typeOf(typeName);
        if (!type) refuse("has numbers of the unknown type " + std::string(typeName.substr(0, 32)));
        if (_isBinary)
        {
            const std::size_t size = sizeOf(*type);
            const std::string_view bytes = takeBytes(numbers * size);
            return {bytes.data(), components * size, *type, isLittleEndian};
        }
        if (_wish == VtkWish::Outline)
        {
            skipNumbers(typeName, numbers);
            return {_bytes.data.get(), 0, Number::Float};
        }
        confirmText(numbers);
        const std::shared_ptr<float[]> values(new float[numbers]);
        parse(values.get(), numbers);
        _piece.points.storage.push_back(values);
        return {reinterpret_cast<const char*>(values.get()), components * sizeof(float), Number::Float};
    }

    Array<int64> readIntegers(std::string_view typeName, std::size_t numbers, bool isWanted)
    {
        if (!isWanted)
        {
            skipNumbers(typeName, numbers);
            return {};
        }
        const std::optional<Number> type = typeOf(typeName);
        if (!type) refuse("has cells of the unknown type " + std::string(typeName.substr(0, 32)));
        const uint32 size = Array<int64>::checkedSize(numbers);
        if (!_isBinary)
        {
            confirmText(numbers);
            Array<int64> integers(size);
            parse(integers.data(), numbers);
            return integers;
        }
        const std::size_t stride = sizeOf(*type);
        return integersOf({takeBytes(numbers * stride).data(), stride, *type, isLittleEndian}, size);
    }

    /// Each number takes a character and a blank.
    void confirmText(std::size_t numbers) const
    {
        if (numbers > (_text.remaining() + 1) / 2) refuseCut();
    }

    template <class T>
    void parse(T* values, std::size_t numbers)
    {
        _isPastLine = false;
        for (std::size_t n = 0; n < numbers; ++n)
            if (!_text.number(values[n])) refuseNumber();
    }

    [[noreturn]] void refuseNumber()
    {
        if (_text.word().empty()) refuseCut();
        refuse("is a damaged VTK file: a number is missing");
    }

    void skipNumbers(std::string_view typeName, std::size_t numbers)
    {
        if (equalsWord(typeName, "string")) return skipStrings(numbers);
        if (!_isBinary)
        {
            _isPastLine = false;
            for (std::size_t n = 0; n < numbers; ++n)
                if (_text.word().empty()) refuseCut();
            return;
        }
        const bool isBit = equalsWord(typeName, "bit");
        const std::optional<Number> type = typeOf(typeName);
        if (!isBit && !type) refuse("has numbers of the unknown type " + std::string(typeName.substr(0, 32)));
        takeBytes(isBit ? (numbers + 7) / 8 : numbers * sizeOf(*type));
    }

    /// Texts stand one a line, or behind their length, whose first two bits tell how many bytes it takes.
    void skipStrings(std::size_t texts)
    {
        passLine();
        for (std::size_t n = 0; n < texts; ++n)
        {
            if (_text.isAtEnd()) refuseCut();
            if (!_isBinary)
            {
                _text.line();
                continue;
            }
            const auto head = static_cast<unsigned char>(_text.rest()[0]);
            const std::size_t bytes = std::size_t{8} >> (head >> 6);
            if (bytes > _text.remaining()) refuseCut();
            uint64 size = 0;
            for (const char c : _text.bytes(bytes)) size = size << 8 | static_cast<unsigned char>(c);
            size &= ~uint64{0} >> (66 - 8 * bytes);
            if (size > _text.remaining()) refuseCut();
            _text.bytes(static_cast<std::size_t>(size));
        }
    }

    const Bytes& _bytes;
    TextReader _text;
    const std::string& _path;
    VtkWish _wish;
    bool _isBinary = false;
    bool _isPastLine = false;  ///< whether the end of the line before numbers was passed already
    Scope _scope = Scope::Dataset;
    std::size_t _values = 0;  ///< tuples of each attribute in this scope
    PolygonCells _cells;      ///< cells whose types follow
    VtkPiece _piece;
};

}  // namespace

VtkPiece readVtkLegacy(const Bytes& bytes, const std::string& path, VtkWish wish)
{
    return LegacyReader(bytes, path, wish).read();
}

}  // namespace tavrix::formats
