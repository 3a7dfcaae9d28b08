#include "formats/Npy.h"

#include <bit>
#include <optional>

#include "formats/Failure.h"
#include "formats/TextReader.h"

namespace tavrix::formats
{

namespace
{

/// A field of a record, or the numbers of a plain array under no name.
struct Field
{
    std::string name;
    std::optional<Number> type;  ///< none for what is no number
    bool isSwapped = false;
    std::size_t size = 0;  ///< in bytes, of one component
    std::size_t components = 1;
};

/// What the header says.
struct NpyHeader
{
    std::vector<Field> fields;
    std::vector<uint64> shape;
    bool isByColumns = false;
    bool hasNames = false;
};

/// Reads the header, which is a dictionary of Python.
class HeaderReader
{
public:
    HeaderReader(std::string_view text, const std::string& path) : _text(text), _path(path) {}

    NpyHeader read()
    {
        expect('{');
        while (!accept('}'))
        {
            const std::string key = quoted();
            expect(':');
            if (key == "descr")
                readTypes();
            else if (key == "fortran_order")
                _header.isByColumns = word() == "True";
            else if (key == "shape")
                _header.shape = tuple();
            else
                refuse();
            accept(',');
        }
        return _header;
    }

private:
    [[noreturn]] void refuse() const
    {
        throw Failure(_path + ": is an NPY file with a header that cannot be read; save it again");
    }

    bool accept(char c)
    {
        while (!_text.empty() && TextReader::isBlank(_text[0])) _text.remove_prefix(1);
        if (_text.empty() || _text[0] != c) return false;
        _text.remove_prefix(1);
        return true;
    }

    void expect(char c)
    {
        if (!accept(c)) refuse();
    }

    std::string quoted()
    {
        const char quote = accept('\'') ? '\'' : '"';
        if (quote == '"') expect('"');
        const std::size_t end = _text.find(quote);
        if (end == std::string_view::npos) refuse();
        std::string text(_text.substr(0, end));
        _text.remove_prefix(end + 1);
        return text;
    }

    std::string word()
    {
        accept(' ');
        std::size_t end = 0;
        while (end < _text.size() && _text[end] >= 'A' && _text[end] <= 'z') ++end;
        std::string text(_text.substr(0, end));
        _text.remove_prefix(end);
        return text;
    }

    std::vector<uint64> tuple()
    {
        expect('(');
        std::vector<uint64> numbers;
        while (!accept(')'))
        {
            uint64 value = 0;
            TextReader reader(_text);
            if (!reader.number(value)) refuse();
            _text = reader.rest();
            numbers.push_back(value);
            accept(',');
        }
        return numbers;
    }

    void readTypes()
    {
        if (!accept('['))
        {
            _header.fields.push_back(field(quoted()));
            return;
        }
        _header.hasNames = true;
        while (!accept(']'))
        {
            expect('(');
            const std::string name = quoted();
            expect(',');
            _header.fields.push_back(field(quoted()));
            _header.fields.back().name = name;
            if (accept(',')) readComponents();
            expect(')');
            accept(',');
        }
    }

    void readComponents()
    {
        for (const uint64 size : tuple())
        {
            if (size > 0xFFFF) refuse();
            _header.fields.back().components *= static_cast<std::size_t>(size);
        }
        if (_header.fields.back().components > 0xFFFF) refuse();
    }

    /// The type that "<f4" and the like name.
    Field field(const std::string& code) const
    {
        Field field;
        if (code.size() < 3 || std::string_view("<>|=").find(code[0]) == std::string_view::npos) refuse();
        const char order = code[0] == '=' ? '<' : code[0];
        field.isSwapped = (order == '>') == (std::endian::native == std::endian::little) && order != '|';
        TextReader reader(std::string_view(code).substr(2));
        if (!reader.number(field.size) || field.size > 0xFFFF) refuse();
        static constexpr std::pair<std::string_view, Number> types[] = {
            {"f2", Number::Half},   {"f4", Number::Float}, {"f8", Number::Double}, {"i1", Number::Int8},
            {"u1", Number::UInt8},  {"i2", Number::Int16}, {"u2", Number::UInt16}, {"i4", Number::Int32},
            {"u4", Number::UInt32}, {"i8", Number::Int64}, {"u8", Number::UInt64}, {"b1", Number::UInt8}};
        for (const auto& [name, type] : types)
            if (code.substr(1) == name) field.type = type;
        if (code[1] == 'U') field.size *= 4;
        return field;
    }

    std::string_view _text;
    const std::string& _path;
    NpyHeader _header;
};

/// The names of the columns of a plain table: x, y, z, and then their numbers.
std::string columnName(std::size_t n)
{
    static constexpr std::string_view axes = "xyz";
    return n < 3 ? std::string(1, axes[n]) : "column_" + std::to_string(n + 1);
}

[[noreturn]] void refuseShape(const std::string& path)
{
    throw Failure(path +
                  ": is no array of points; save one of the shape (count, 3), or of records with x, y and z");
}

void addTable(PointTable& table, const NpyHeader& header, const std::string& path, std::string_view data)
{
    const Field& field = header.fields[0];
    if (header.shape.size() != 2 || !field.type || header.shape[1] < 2) refuseShape(path);
    const uint64 rows = header.shape[0], columns = header.shape[1];
    if (columns > data.size() / field.size || rows > data.size() / field.size / columns) refuseCut(path);
    table.count = Array<float>::checkedSize(static_cast<std::size_t>(rows));
    for (std::size_t n = 0; n < columns; ++n)
    {
        const std::size_t offset = header.isByColumns ? n * table.count : n;
        const std::size_t stride = header.isByColumns ? 1 : static_cast<std::size_t>(columns);
        table.columns.push_back(
            {columnName(n),
             {{data.data() + offset * field.size, stride * field.size, *field.type, field.isSwapped}}});
    }
}

void addRecords(PointTable& table, const NpyHeader& header, const std::string& path, std::string_view data)
{
    std::size_t stride = 0;
    for (const Field& field : header.fields) stride += field.size * field.components;
    if (header.shape.size() != 1 || stride == 0) refuseShape(path);
    if (header.shape[0] > data.size() / stride) refuseCut(path);
    table.count = Array<float>::checkedSize(static_cast<std::size_t>(header.shape[0]));
    const char* next = data.data();
    for (const Field& field : header.fields)
    {
        if (field.type && field.components > 0 && !field.name.empty())
            table.columns.push_back(
                columnOf(field.name, field.components, {next, stride, *field.type, field.isSwapped}));
        next += field.size * field.components;
    }
}

}  // namespace

PointTable readNpy(const Bytes& bytes, const std::string& path)
{
    std::string_view file = bytes.view();
    if (file.size() < 12) refuseCut(path);
    const auto byte = [file](std::size_t n) { return std::size_t{static_cast<unsigned char>(file[n])}; };
    const bool isWide = byte(6) >= 2;
    const std::size_t start = isWide ? 12 : 10;
    const std::size_t size = byte(8) | byte(9) << 8 | (isWide ? byte(10) << 16 | byte(11) << 24 : 0);
    if (size > file.size() - start) refuseCut(path);
    const NpyHeader header = HeaderReader(file.substr(start, size), path).read();
    if (header.fields.empty()) refuseShape(path);
    PointTable table;
    (header.hasNames ? addRecords : addTable)(table, header, path, file.substr(start + size));
    table.storage.push_back(bytes.data);
    return table;
}

}  // namespace tavrix::formats
