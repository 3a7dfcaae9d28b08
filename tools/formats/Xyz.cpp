#include "formats/Xyz.h"

#include "formats/Failure.h"
#include "formats/TextReader.h"
#include "formats/TextTable.h"

namespace tavrix::formats
{

namespace
{

/// The names of the columns by "Properties=species:S:1:pos:R:3": three parts for each property, which are its
/// name, its type (S is text, L yes or no) and how many columns it takes. Columns of a vector are numbered.
std::vector<std::string> propertyNames(std::string_view comment, const std::string& path)
{
    const std::size_t begin = comment.find("Properties=") + 11;
    std::string_view text = comment.substr(begin);
    if (text.starts_with('"')) text.remove_prefix(1);
    text = text.substr(0, text.find_first_of("\" \t"));
    std::vector<std::string_view> parts;
    while (!text.empty())
    {
        const std::size_t end = std::min(text.find(':'), text.size());
        parts.push_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    std::vector<std::string> names;
    for (std::size_t n = 0; n + 2 < parts.size(); n += 3)
    {
        uint32 columns = 0;
        TextReader reader(parts[n + 2]);
        if (!reader.number(columns) || columns > 1000)
            throw Failure(path + ": its Properties= cannot be read; export it again");
        const bool isNumber = parts[n + 1] == "R" || parts[n + 1] == "I";
        const std::string name(isNumber ? parts[n] : std::string_view());
        for (uint32 c = 0; c < columns; ++c)
            names.push_back(columns == 1 || !isNumber ? name : name + "_" + std::to_string(c));
    }
    return names;
}

/// An element's name or number, when there are more than three columns, then x, y and z, then what else.
std::vector<std::string> plainNames(std::string_view row)
{
    const std::size_t columns = wordsOf(row).size();
    const std::size_t first = columns > 3 ? 1 : 0;
    std::vector<std::string> names(columns);
    for (std::size_t n = first; n < columns; ++n)
        names[n] = n < first + 3 ? std::string(1, static_cast<char>('x' + (n - first)))
                                 : "column_" + std::to_string(n + 1);
    return names;
}

PointTable readCounted(TextReader text, uint64 count, const std::string& path)
{
    const std::string_view comment = text.line();
    const bool hasNames = comment.find("Properties=") != std::string_view::npos;
    const std::vector<std::string> names =
        hasNames ? propertyNames(comment, path) : plainNames(TextReader(text).line());
    if (names.size() < 2) throw Failure(path + ": has rows without x, y and z; export it again");
    PointTable table = readRows(text.rest(), names, count);
    if (table.count < count)
        throw Failure(path + ": is cut off, it holds " + std::to_string(table.count) + " of " +
                      std::to_string(count) + " particles; write or copy it again");
    return table;
}

}  // namespace

PointTable readXyz(const Bytes& bytes, const std::string& path)
{
    TextReader text(bytes.view());
    TextReader first(text.line());
    uint64 count = 0;
    const bool isCounted = first.number(count) && first.word().empty();
    return isCounted ? readCounted(text, count, path) : readTextTable(bytes, path);
}

}  // namespace tavrix::formats
