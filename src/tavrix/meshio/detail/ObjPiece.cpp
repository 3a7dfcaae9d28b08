#include <tavrix/meshio/detail/ObjPiece.h>
#include <tavrix/meshio/detail/WhiteSpace.h>
#include <tavrix/platform/NumberText.h>

namespace tavrix::detail
{

namespace
{

using ReadingMode = ObjReadingMode;

/// An index that no file has an element for, and that does not mean "none".
constexpr uint32 badIndex = noIndex - 1;

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

/// The text before a comment.
std::string_view beforeComment(std::string_view line) { return line.substr(0, line.find('#')); }

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

ObjPiece::ObjPiece(ReadingMode mode, bool isLenient, const ObjCounts& before)
    : _mode(mode), _isLenient(isLenient), _before(before)
{
    // without a name: what its group is called stands before the piece
    _groups.push_back(std::make_unique<ObjGroup>());
    _current = _groups.back().get();
}

void ObjPiece::countLeftOut(uint64 MeshReadingReport::*what, uint64 count)
{
    if (!_isLenient) return;
    _leftOut.*what += count;
    _isWhole = false;
}

ObjGroup* ObjPiece::addGroup(std::string name)
{
    _groups.push_back(std::make_unique<ObjGroup>());
    ObjGroup* group = _groups.back().get();
    group->name = std::move(name);
    _groupByName.emplace(group->name, group);
    return group;
}

ObjGroup* ObjPiece::GetGroupByName(const std::string& name) const
{
    const auto found = _groupByName.find(name);
    return found == _groupByName.end() ? nullptr : found->second;
}

void ObjPiece::readStatement(std::string_view line)
{
    _isWhole = true;
    const std::string_view statement = _isLenient ? beforeComment(line) : line;
    const char* const end = statement.data() + statement.size();
    const char* const begin = skipSpaces(line.data(), end);
    const char* const rest = skipToken(begin, end);
    const std::string_view keyword(begin, static_cast<std::size_t>(rest - begin));
    if (keyword == "v")
        _positions.push_back(readVector(rest, end, 3));
    else if (keyword == "f")
        readFace(rest, end);
    else if (keyword == "vn")
        _normals.push_back(readVector(rest, end, 3));
    else if (keyword == "vt")
        _textures.push_back(readVector(rest, end, 1));
    else if (keyword == "g")
        switchGroup(trimmed(line.substr(static_cast<std::size_t>(rest - line.data()))));
}

/// Up to three numbers, of which the file should have as many as are needed; what does not follow as a number
/// is 0.
Vector3F ObjPiece::readVector(const char* p, const char* end, uint32 needed)
{
    Vector3F v{0.0f, 0.0f, 0.0f};
    uint32 count = 0;
    for (; count < 3; ++count)
    {
        const char* number = skipSpaces(p, end);
        p = parseFloat(number, end, v[count]);
        if (p == number) break;
    }
    const bool isFollowed = count < 3 ? skipSpaces(p, end) != end : p != end && !isSpace(*p);
    if (count < needed)
        countLeftOut(&MeshReadingReport::numbers, needed - count);
    else if (isFollowed)
        countLeftOut(&MeshReadingReport::numbers, 1);
    return v;
}

void ObjPiece::switchGroup(std::string_view name)
{
    if (_mode == ReadingMode::oneGroup) return;
    std::string groupName(name.empty() ? "default" : name);
    ObjGroup* group = _mode == ReadingMode::groupByLine ? nullptr : GetGroupByName(groupName);
    _current = group ? group : addGroup(std::move(groupName));
}

/// The 0-based index for one in the file, which counts from 1, or back from the latest of the elements: those
/// before the piece and `count` in it.
uint32 ObjPiece::resolve(int32 index, std::size_t count)
{
    _countsBack |= index < 0;
    const int64 zeroBased = index > 0 ? index - int64{1} : static_cast<int64>(count) + index;
    return index == 0 || zeroBased < 0 ? badIndex : static_cast<uint32>(zeroBased);
}

/// The longest of p/t/n, p//n, p/t and p that the text begins with; moves behind the whole token.
bool ObjPiece::readCorner(const char*& p, const char* end, ObjCorner& corner)
{
    const auto readIndex = [&](const char*& text, std::size_t count, uint32& index)
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
    const bool found = readIndex(p, _before.positions + _positions.size(), corner.position);
    if (found && readSlash(p))
    {
        const bool noTexture = readSlash(p);
        if (noTexture || (readIndex(p, _before.textures + _textures.size(), corner.texture) && readSlash(p)))
            readIndex(p, _before.normals + _normals.size(), corner.normal);
    }
    p = skipToken(p, end);
    return found;
}

void ObjPiece::readFace(const char* p, const char* end)
{
    const std::size_t mostCorners = _isLenient ? noIndex : 4;
    bool isGood = true;
    _corners.clear();
    for (p = skipSpaces(p, end); p != end && isGood; p = skipSpaces(p, end))
    {
        isGood = _corners.size() < mostCorners && readCorner(p, end, _corners.emplace_back());
    }
    if (!isGood || _corners.size() < 3) return countLeftOut(&MeshReadingReport::faces, 1);
    const auto triangles = static_cast<uint32>(_corners.size() - 2);
    if (triangles > 1)
        _current->polygons.push_back({Array<Index3>::checkedSize(_current->positions.size()), triangles});
    for (uint32 i = 0; i < triangles; ++i)
        _current->addTriangle(_corners[0], _corners[i + 1], _corners[i + 2]);
}

}  // namespace tavrix::detail
