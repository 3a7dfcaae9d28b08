#include "formats/TextTable.h"

#include <algorithm>
#include <limits>

#include "formats/Failure.h"
#include "formats/TextReader.h"

namespace tavrix::formats
{

namespace
{

constexpr float missing = std::numeric_limits<float>::quiet_NaN();
constexpr char blank = ' ';  ///< the separator of fields that any number of blanks separates

bool isComment(std::string_view line)
{
    return line.starts_with('#') || line.starts_with('%') || line.starts_with("//");
}

std::string_view trimmed(std::string_view text)
{
    while (!text.empty() && TextReader::isBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && TextReader::isBlank(text.back())) text.remove_suffix(1);
    return text;
}

char separatorOf(std::string_view line)
{
    for (const char separator : {';', '\t', ','})
        if (line.find(separator) != std::string_view::npos) return separator;
    return blank;
}

/// The line's fields, of which those in quotes may hold separators.
std::vector<std::string_view> fieldsOf(std::string_view line, char separator)
{
    if (separator == blank) return wordsOf(line);
    std::vector<std::string_view> fields;
    for (bool isMore = true; isMore;)
    {
        const std::string_view start = trimmed(line);
        std::size_t from = 0;
        const bool isQuoted = start.starts_with('"') && start.find('"', 1) != std::string_view::npos;
        if (isQuoted) from = line.find('"', line.find('"') + 1) + 1;
        const std::size_t end = std::min(line.find(separator, from), line.size());
        std::string_view field = trimmed(line.substr(0, end));
        if (field.size() >= 2 && field.front() == '"' && field.back() == '"')
            field = field.substr(1, field.size() - 2);
        fields.push_back(field);
        isMore = end < line.size();
        line.remove_prefix(isMore ? end + 1 : end);
    }
    return fields;
}

bool isNumber(std::string_view field)
{
    TextReader reader(field);
    float value = 0;
    return reader.number(value) && reader.isAtEnd();
}

/// Rows of numbers as they are read, one after the other.
class Rows
{
public:
    Rows(std::size_t columns, char separator) : _columns(columns), _separator(separator), _hasNumber(columns)
    {
    }

    void reserve(std::size_t rows) { _numbers->reserve(rows * _columns); }

    void add(std::string_view line)
    {
        const char* next = line.data();
        const char* const end = next + line.size();
        for (std::size_t n = 0; n < _columns; ++n)
        {
            float value = missing;
            next = _separator == blank ? readWord(next, end, value) : readField(next, end, value);
            _numbers->push_back(value);
            if (value == value) _hasNumber[n] = true;
        }
    }

    std::size_t count() const { return _numbers->size() / _columns; }
    bool hasNumber(std::size_t column) const { return _hasNumber[column]; }

    /// The columns with names and numbers.
    PointTable table(const std::vector<std::string>& names) const
    {
        PointTable table;
        table.count = Array<float>::checkedSize(count());
        for (std::size_t n = 0; n < _columns; ++n)
            if (_hasNumber[n] && !names[n].empty())
                table.columns.push_back({names[n],
                                         {{reinterpret_cast<const char*>(_numbers->data() + n),
                                           _columns * sizeof(float), Number::Float}}});
        table.storage.push_back(_numbers);
        return table;
    }

private:
    static const char* skipBlanks(const char* next, const char* end)
    {
        while (next != end && TextReader::isBlank(*next)) ++next;
        return next;
    }

    static const char* parse(const char* next, const char* end, float& value)
    {
        if (next != end && *next == '+') ++next;
        return fast_float::from_chars(next, end, value).ptr;
    }

    /// A word that is wholly a number, or not; returns what stands behind it.
    static const char* readWord(const char* next, const char* end, float& value)
    {
        next = skipBlanks(next, end);
        const char* behind = parse(next, end, value);
        if (behind != end && !TextReader::isBlank(*behind)) value = missing;
        while (behind != end && !TextReader::isBlank(*behind)) ++behind;
        return behind;
    }

    const char* readField(const char* next, const char* end, float& value) const
    {
        while (next != end && *next != _separator && (TextReader::isBlank(*next) || *next == '"')) ++next;
        next = parse(next, end, value);
        while (next != end && *next != _separator && (TextReader::isBlank(*next) || *next == '"')) ++next;
        if (next == end) return next;
        if (*next == _separator) return next + 1;
        value = missing;
        next = std::find(next, end, _separator);
        return next == end ? end : next + 1;
    }

    std::size_t _columns;
    char _separator;
    std::vector<bool> _hasNumber;
    std::shared_ptr<std::vector<float>> _numbers = std::make_shared<std::vector<float>>();
};

/// The text with commas made points, for numbers between semicolons.
Bytes withDecimalPoints(const Bytes& bytes)
{
    std::shared_ptr<char[]> copy(new char[bytes.size]);
    std::replace_copy(bytes.data.get(), bytes.data.get() + bytes.size, copy.get(), ',', '.');
    return {std::shared_ptr<const char>(copy, copy.get()), bytes.size};
}

/// Finds x, y and z, and names the other columns by their places.
std::vector<std::string> namesByPlace(const Rows& rows, std::size_t columns)
{
    static constexpr std::string_view axes = "xyz";
    std::vector<std::string> names(columns);
    for (std::size_t n = 0, found = 0; n < columns; ++n)
    {
        if (!rows.hasNumber(n)) continue;
        names[n] = found < 3 ? std::string(1, axes[found]) : "column_" + std::to_string(n + 1);
        ++found;
    }
    return names;
}

/// What stands before the rows.
struct Front
{
    char separator = blank;
    std::size_t columns = 0;
    std::vector<std::string> names;  ///< none when the file gives none
};

Front readFront(TextReader& text, const std::string& path)
{
    Front front;
    std::string_view comment;
    while (!text.isAtEnd())
    {
        const TextReader before = text;
        const std::string_view line = text.line();
        if (isComment(line)) comment = line.substr(std::min(line.find_first_not_of("#%/"), line.size()));
        if (isComment(line) || trimmed(line).empty()) continue;
        front.separator = separatorOf(line);
        const std::vector<std::string_view> fields = fieldsOf(line, front.separator);
        front.columns = fields.size();
        if (std::count_if(fields.begin(), fields.end(), isNumber) < 2)
        {
            front.names.assign(fields.begin(), fields.end());
            return front;
        }
        text = before;
        const std::vector<std::string_view> words = fieldsOf(comment, separatorOf(trimmed(comment)));
        if (words.size() == fields.size() && std::none_of(words.begin(), words.end(), isNumber))
            front.names.assign(words.begin(), words.end());
        return front;
    }
    throw Failure(path + ": holds no particles; give a file that does");
}

std::string_view withoutMark(std::string_view text)
{
    return text.starts_with("\xEF\xBB\xBF") ? text.substr(3) : text;
}

}  // namespace

std::vector<std::string_view> wordsOf(std::string_view line)
{
    TextReader reader(line);
    std::vector<std::string_view> words;
    for (std::string_view word = reader.word(); !word.empty(); word = reader.word()) words.push_back(word);
    return words;
}

PointTable readTextTable(const Bytes& bytes, const std::string& path)
{
    TextReader text(withoutMark(bytes.view()));
    const Front front = readFront(text, path);
    const Bytes decimal = front.separator == ';' ? withDecimalPoints(bytes) : Bytes{};
    if (decimal.size > 0) text = TextReader(decimal.view().substr(bytes.size - text.remaining()));
    Rows rows(front.columns, front.separator);
    const std::size_t lineSize = TextReader(text).line().size() + 1;
    rows.reserve(text.remaining() / lineSize + 1);
    while (!text.isAtEnd())
    {
        const std::string_view line = text.line();
        if (!line.empty() && !isComment(line) && !trimmed(line).empty()) rows.add(line);
    }
    if (rows.count() == 0) throw Failure(path + ": holds no particles; give a file that does");
    return rows.table(front.names.empty() ? namesByPlace(rows, front.columns) : front.names);
}

PointTable readRows(std::string_view text, const std::vector<std::string>& names, std::optional<uint64> count)
{
    Rows rows(names.size(), blank);
    TextReader reader(text);
    while (!reader.isAtEnd() && rows.count() < count.value_or(std::numeric_limits<uint64>::max()))
        rows.add(reader.line());
    return rows.table(names);
}

}  // namespace tavrix::formats
