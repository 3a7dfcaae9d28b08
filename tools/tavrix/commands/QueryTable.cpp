#include "commands/QueryTable.h"

#include <cmath>
#include <cstdlib>
#include <fstream>

#include <tavrix/platform/TX_Tokenizer.h>

#include "formats/FileName.h"
#include "run/Failure.h"
#include "run/Text.h"

namespace tavrix::tool
{

namespace
{

/// What some programs begin UTF-8 files with.
constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

bool parseNumber(std::string_view word, double& value)
{
    if (word.find_first_not_of("0123456789+-.eE") != std::string_view::npos) return false;
    const std::string number(word);
    char* end = nullptr;
    value = std::strtod(number.c_str(), &end);
    return end == number.c_str() + number.size() && std::isfinite(value);
}

bool isHeading(std::string_view line)
{
    const char c = line[0];
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '"' || c == '#';
}

/// Whether there is nothing between two commas or semicolons, or before the first.
bool hasEmptyField(std::string_view text)
{
    bool isEmpty = true;
    for (const char c : text)
    {
        const bool isSeparator = c == ',' || c == ';';
        if (isSeparator && isEmpty) return true;
        isEmpty = isSeparator || (isEmpty && (c == ' ' || c == '\t'));
    }
    return false;
}

void append(std::string& text, double value)
{
    text += formatted(",%.12g", value + 0.0);  // -0 becomes 0
}

void append(std::string& text, const Vector3D& v)
{
    for (uint32 axis = 0; axis < 3; ++axis) append(text, v[axis]);
}

void append(std::string& text, const MeshPoint& point)
{
    append(text, point.distance);
    append(text, point.position);
    text += ',';
    text += std::to_string(point.face);
    append(text, point.barycentric);
}

}  // namespace

std::optional<Query> parseQuery(std::string_view text)
{
    if (hasEmptyField(text)) return std::nullopt;
    TX_Tokenizer words(text, ",; \t\r");
    double numbers[6];
    uint32 count = 0;
    for (auto word = words.readNextToken(); !word.empty(); word = words.readNextToken())
        if (count == 6 || !parseNumber(word, numbers[count++])) return std::nullopt;
    const Vector3D origin{numbers[0], numbers[1], numbers[2]};
    if (count == 3) return Query{origin, std::nullopt};
    if (count == 6) return Query{origin, Vector3D{numbers[3], numbers[4], numbers[5]}};
    return std::nullopt;
}

std::vector<Query> readQueries(const std::string& path)
{
    std::ifstream file(formats::pathOf(path));
    if (!file) throw Failure(path + ": cannot be opened; does it exist, and may it be read?");
    std::vector<Query> queries;
    std::string line;
    for (uint64 number = 1; std::getline(file, line); ++number)
    {
        if (number == 1 && line.starts_with(byteOrderMark)) line.erase(0, byteOrderMark.size());
        if (line.find_first_not_of(" \t\r") == std::string::npos || (number == 1 && isHeading(line)))
            continue;
        const std::optional<Query> query = parseQuery(line);
        if (!query)
            throw Failure(path + ":" + std::to_string(number) +
                          ": must be three numbers (a point) or six (a ray's origin and direction)");
        queries.push_back(*query);
    }
    if (file.bad()) throw Failure(path + ": cannot be read to its end");
    return queries;
}

std::string answerTable(const std::vector<Query>& queries, const std::vector<Answer>& answers)
{
    std::string text = "query,ox,oy,oz,dx,dy,dz,distance,x,y,z,face,a,b,c,inside\n";
    for (std::size_t n = 0; n < queries.size(); ++n)
    {
        const auto& [origin, direction] = queries[n];
        text += direction ? std::string_view("ray") : std::string_view("point");
        append(text, origin);
        direction ? append(text, *direction) : void(text += ",,,");
        answers[n].point ? append(text, *answers[n].point) : void(text += ",,,,,,,,");
        text += direction ? ",\n" : answers[n].isInside ? ",1\n" : ",0\n";
    }
    return text;
}

std::string distanceTable(const std::vector<Query>& points, std::span<const double> distances)
{
    std::string text = "x,y,z,distance\n";
    for (std::size_t n = 0; n < points.size(); ++n)
    {
        const Vector3D& p = points[n].origin;
        text += formatted("%.12g", p.x + 0.0);
        append(text, p.y);
        append(text, p.z);
        append(text, distances[n]);
        text += '\n';
    }
    return text;
}

}  // namespace tavrix::tool
