#include <tavrix/meshio/detail/ObjReader.h>
#include <tavrix/meshio/detail/TrimmedText.h>
#include <tavrix/platform/NumberText.h>

namespace tavrix::detail
{

namespace
{

using ReadingMode = ObjReadingMode;

/// An index that no file has an element for, and that does not mean "none".
constexpr uint32 badIndex = noIndex - 1;

bool isSpace(char c) { return c == ' ' || ('\t' <= c && c <= '\r'); }

const char* skipSpaces(const char* p, const char* end)
{
    while (p != end && isSpace(*p)) ++p;
    return p;
}

const char* skipToken(const char* p, const char* end)
{
    while (p != end && !isSpace(*p)) ++p;
    return p;
}

/// Up to three numbers; what does not follow as a number is 0.
Vector3F readVector(const char* p, const char* end)
{
    Vector3F v{0.0f, 0.0f, 0.0f};
    for (float* component : {&v.x, &v.y, &v.z})
    {
        const char* number = skipSpaces(p, end);
        p = parseFloat(number, end, *component);
        if (p == number) break;
    }
    return v;
}

/// The 0-based index for one in the file, which counts from 1, or back from the latest of `count` elements.
uint32 resolve(int32 index, std::size_t count)
{
    const int64 zeroBased = index > 0 ? index - int64{1} : static_cast<int64>(count) + index;
    return index == 0 || zeroBased < 0 ? badIndex : static_cast<uint32>(zeroBased);
}

/// Appends a triple to those of a kind that corners need not have.
void addOptional(std::vector<Index3>& triples, std::size_t before, const Index3& triple)
{
    if (triples.empty() && triple == Index3{noIndex, noIndex, noIndex}) return;
    if (triples.empty()) triples.resize(before, {noIndex, noIndex, noIndex});
    triples.push_back(triple);
}

}  // namespace

void ObjGroup::addTriangle(const ObjCorner& a, const ObjCorner& b, const ObjCorner& c)
{
    addOptional(textures, positions.size(), {a.texture, b.texture, c.texture});
    addOptional(normals, positions.size(), {a.normal, b.normal, c.normal});
    positions.push_back({a.position, b.position, c.position});
}

ObjReader::ObjReader(ReadingMode mode) : _mode(mode), _current(addGroup("default")) {}

ObjGroup* ObjReader::addGroup(std::string name)
{
    _groups.push_back(std::make_unique<ObjGroup>());
    ObjGroup* group = _groups.back().get();
    group->name = std::move(name);
    _groupByName.emplace(group->name, group);
    return group;
}

ObjGroup* ObjReader::GetGroupByName(const std::string& name) const
{
    const auto found = _groupByName.find(name);
    return found == _groupByName.end() ? nullptr : found->second;
}

void ObjReader::ObjFirstPass(TextLines& lines)
{
    std::string_view line;
    while (lines.ReadLine(line)) readStatement(line);
}

void ObjReader::readStatement(std::string_view line)
{
    const char* const end = line.data() + line.size();
    const char* const begin = skipSpaces(line.data(), end);
    const char* const rest = skipToken(begin, end);
    const std::string_view keyword(begin, static_cast<std::size_t>(rest - begin));
    if (keyword == "v")
        _positions.push_back(readVector(rest, end));
    else if (keyword == "f")
        readFace(rest, end);
    else if (keyword == "vn")
        _normals.push_back(readVector(rest, end));
    else if (keyword == "vt")
        _textures.push_back(readVector(rest, end));
    else if (keyword == "g")
        switchGroup(trimmed({rest, static_cast<std::size_t>(end - rest)}));
}

void ObjReader::switchGroup(std::string_view name)
{
    if (_mode == ReadingMode::oneGroup) return;
    std::string groupName(name.empty() ? "default" : name);
    if (_mode == ReadingMode::groupByLine)
    {
        _current = addGroup(groupName + '_' + std::to_string(_groupLines++));
        return;
    }
    ObjGroup* group = GetGroupByName(groupName);
    _current = group ? group : addGroup(std::move(groupName));
}

/// The longest of p/t/n, p//n, p/t and p that the text begins with; moves behind the whole token.
bool ObjReader::readCorner(const char*& p, const char* end, ObjCorner& corner) const
{
    const auto readIndex = [end](const char*& text, std::size_t count, uint32& index)
    {
        int32 number = 0;
        const char* after = parseInt(text, end, number);
        if (after == text) return false;
        text = after;
        index = resolve(number, count);
        return true;
    };
    const auto readSlash = [end](const char*& text)
    {
        if (text == end || *text != '/') return false;
        ++text;
        return true;
    };
    const bool found = readIndex(p, _positions.size(), corner.position);
    if (found && readSlash(p))
    {
        const bool noTexture = readSlash(p);
        if (noTexture || (readIndex(p, _textures.size(), corner.texture) && readSlash(p)))
            readIndex(p, _normals.size(), corner.normal);
    }
    p = skipToken(p, end);
    return found;
}

void ObjReader::readFace(const char* p, const char* end)
{
    ObjCorner corners[4];
    uint32 count = 0;
    for (p = skipSpaces(p, end); p != end; p = skipSpaces(p, end))
        if (count == 4 || !readCorner(p, end, corners[count++])) return;
    if (count < 3) return;
    if (count == 4) _current->quads.push_back(Array<Index3>::checkedSize(_current->positions.size()));
    _current->addTriangle(corners[0], corners[1], corners[2]);
    if (count == 4) _current->addTriangle(corners[0], corners[2], corners[3]);
}

}  // namespace tavrix::detail
