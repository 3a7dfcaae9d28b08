#include <algorithm>
#include <cstring>
#include <memory>
#include <string_view>

#include <tavrix/meshio/detail/StlMesh.h>
#include <tavrix/meshio/detail/StlReader.h>
#include <tavrix/meshio/detail/WhiteSpace.h>
#include <tavrix/platform/ByteOrder.h>
#include <tavrix/platform/NumberText.h>

namespace tavrix::detail
{

namespace
{

constexpr std::size_t textWindowSize = 0x80000;
/// Of one statement, the characters that count.
constexpr std::ptrdiff_t maxStatement = 1024;

bool isBlank(char c) { return c == ' ' || c == '\t'; }
bool isLineEnd(char c) { return c == '\n' || c == '\r'; }
char toLower(char c) { return 'A' <= c && c <= 'Z' ? static_cast<char>(c | 0x20) : c; }

const char* skipBlanks(const char* p, const char* end)
{
    while (p != end && isBlank(*p)) ++p;
    return p;
}

/// True when the text is the word, written in lower case, in any case.
bool isWord(std::string_view text, std::string_view word)
{
    if (text.size() != word.size()) return false;
    for (std::size_t i = 0; i < word.size(); ++i)
        if (toLower(text[i]) != word[i]) return false;
    return true;
}

/// The numbers behind a keyword, separated by blanks and tabs. Moves behind them, and in front of what is not
/// a number when there are fewer than three; returns how many there are.
uint32 FillVector(const char*& p, const char* end, Vector3F& vector)
{
    uint32 count = 0;
    for (; count < 3; ++count)
    {
        p = skipBlanks(p, end);
        const char* after = parseFloat(p, end, vector[count]);
        if (after == p) break;
        p = after;
    }
    return count;
}

/// A keyword of at most eight letters as one word of memory.
struct Keyword
{
    uint64 letters = 0;
    uint64 mask = 0;
    std::ptrdiff_t size = 0;

    constexpr explicit Keyword(std::string_view text) : size(static_cast<std::ptrdiff_t>(text.size()))
    {
        for (std::size_t i = 0; i < text.size(); ++i)
        {
            const std::size_t shift = machineByteOrder == ByteOrder::little ? 8 * i : 56 - 8 * i;
            letters |= uint64{static_cast<unsigned char>(text[i])} << shift;
            mask |= uint64{0xFF} << shift;
        }
    }
};

constexpr Keyword vertex("vertex"), facet("facet"), outer("outer"), loop("loop"), endloop("endloop"),
    endfacet("endfacet"), solid("solid"), endsolid("endsolid");

/// What a text begins with, to be compared with keywords in any case.
class FirstWord
{
public:
    FirstWord(const char* p, const char* end) : _characters(p)
    {
        if (end - p <= 8)
        {
            std::fill(_padded, _padded + sizeof _padded, '\n');
            std::copy(p, end, _padded);
            _characters = _padded;
        }
        std::memcpy(&_letters, _characters, sizeof _letters);
        _letters |= 0x2020202020202020;
    }
    FirstWord(const FirstWord&) = delete;
    FirstWord& operator=(const FirstWord&) = delete;

    bool is(const Keyword& keyword) const
    {
        return (_letters & keyword.mask) == keyword.letters && isSpace(_characters[keyword.size]);
    }

private:
    const char* _characters;
    char _padded[9];
    uint64 _letters;
};

/// Reads statement by statement: a keyword and what belongs to it. Line ends matter only where a statement's
/// length is not known: behind "solid" and words that are no keywords.
class StlTextReader
{
public:
    StlTextReader(FileBufferIn& file, Mesh& mesh, MeshReadingReport& report)
        : _file(file), _facets(mesh), _report(report)
    {
    }

    FileStatus read()
    {
        while (!_tooMany && nextStatement()) readStatement();
        endFacet();
        _report.isCut = _isInSolid;
        _facets.trim(_facetCount);
        _facets.number(0, _facetCount);
        return _tooMany || _file.status() == FileStatus::failed ? FileStatus::failed : FileStatus::ok;
    }

private:
    /// Moves to the next character that is no space, with the characters of its statement in the window;
    /// false at the end of the file.
    bool nextStatement()
    {
        do {
            while (_next != _end && isSpace(*_next)) ++_next;
            if (_end - _next >= maxStatement) return true;
        } while (refill());
        return _next != _end;
    }

    void readStatement()
    {
        const char* const end = _next + std::min(_end - _next, maxStatement);
        const FirstWord word(_next, end);
        const auto takes = [&](const Keyword& keyword)
        {
            if (!word.is(keyword)) return false;
            _next += keyword.size;
            return true;
        };
        if (takes(vertex)) return readCorner(end);
        if (takes(facet)) return beginFacet(end);
        if (takes(outer) || takes(endloop)) return endCorners();
        if (takes(endfacet)) return endFacet();
        if (takes(loop)) return;
        if (takes(solid)) return readName(end);
        if (takes(endsolid)) endSolid();
        skipLine();
    }

    void endCorners() { _corner = 0; }

    void endFacet()
    {
        if (_isInFacet) ++_report.faces;
        _isInFacet = false;
        _corner = 0;
        _normal = {0, 0, 0};
    }

    void endSolid()
    {
        endFacet();
        _isInSolid = false;
    }

    void beginFacet(const char* end)
    {
        constexpr std::ptrdiff_t normalLength = 6;
        endFacet();
        _isInFacet = _isInSolid = true;
        const char* p = skipBlanks(_next, end);
        if (end - p < normalLength || !isWord({p, normalLength}, "normal")) return;
        p += normalLength;
        if (FillVector(p, end, _normal) < 3) _normal = {0, 0, 0};
        _next = p;
    }

    /// A facet is there with its third corner.
    void readCorner(const char* end)
    {
        Vector3F position;
        const uint32 count = FillVector(_next, end, position);
        _report.numbers += 3 - count;
        if (count == 3 && _corner == 3) ++_report.corners;
        if (count < 3 || _corner == 3) return;
        _corners[_corner++] = convert<double>(position);
        if (_corner == 3) addFacet();
    }

    void addFacet()
    {
        if (_facetCount == _facets.size()) grow();
        if (_tooMany) return;
        std::copy(_corners, _corners + 3, _facets.corners(_facetCount));
        _facets.normal(_facetCount++) = _normal;
        _isInFacet = false;
    }

    /// Makes room for as many facets as the file should have if it goes on as it began, within reason.
    void grow()
    {
        constexpr uint64 firstRoom = 1024;
        constexpr uint64 mostGrowth = 16;
        const uint64 present = _facetCount;
        _tooMany = present == StlMesh::maxFacetCount;
        if (_tooMany) return;
        uint64 room = std::max(firstRoom, 2 * present);
        if (_file.size() > 0 && present > 0)
        {
            const double read = static_cast<double>(_file.tell() - (_end - _next));
            const double share = static_cast<double>(_file.size()) / std::max(read, 1.0);
            const auto expected =
                static_cast<uint64>(static_cast<double>(present) * share * 1.03) + firstRoom;
            room = std::clamp(expected, present + present / 8 + firstRoom, mostGrowth * present + firstRoom);
        }
        _facets.resize(static_cast<uint32>(std::min<uint64>(room, StlMesh::maxFacetCount)));
    }

    void readName(const char* end)
    {
        const char* lineEnd = std::find_if(_next, end, isLineEnd);
        if (!_named) _facets.setName({_next, static_cast<std::size_t>(lineEnd - _next)});
        _named = true;
        endFacet();
        _isInSolid = true;
        skipLine();
    }

    void skipLine()
    {
        do {
            while (_next != _end && !isLineEnd(*_next)) ++_next;
            if (_next != _end) return;
        } while (refill());
    }

    /// Moves what is left of the window to its start and reads behind it; false when nothing came.
    bool refill()
    {
        const auto kept = static_cast<std::size_t>(_end - _next);
        std::memmove(_window.get(), _next, kept);
        const std::size_t got = _file.readBuffer(_window.get() + kept, textWindowSize);
        _next = _window.get();
        _end = _next + kept + got;
        return got > 0;
    }

    FileBufferIn& _file;
    StlMesh _facets;
    MeshReadingReport& _report;
    std::unique_ptr<char[]> _window{new char[textWindowSize + maxStatement]};
    const char* _next = _window.get();  ///< first character not taken
    const char* _end = _window.get();   ///< end of the characters in the window
    Vector3D _corners[3];
    Vector3F _normal{0, 0, 0};
    uint32 _corner = 0;  ///< corners of the facet so far
    uint32 _facetCount = 0;
    bool _named = false;
    bool _isInSolid = false;  ///< a solid or a facet began, and no solid ended since
    bool _isInFacet = false;  ///< a facet began and lacks corners
    bool _tooMany = false;
};

bool holdsKeyword(std::string_view text)
{
    constexpr std::string_view keywords[] = {"solid", "facet normal", "outer loop", "vertex",
                                             "color", "endloop",      "endfacet",   "endsolid"};
    return std::any_of(std::begin(keywords), std::end(keywords),
                       [&](std::string_view keyword)
                       { return text.find(keyword) != std::string_view::npos; });
}

}  // namespace

bool beginsAsStlText(FileBufferIn& file)
{
    constexpr uint32 stretches = 8;
    constexpr std::size_t longestKeyword = 12;
    // a keyword may lie across two windows: what could be the start of one is looked at again
    const std::unique_ptr<char[]> window(new char[longestKeyword + textWindowSize]);
    std::size_t kept = 0;
    for (uint32 ends = 0; ends < stretches;)
    {
        const std::size_t got = file.readBuffer(window.get() + kept, textWindowSize);
        const char* const first = window.get() + kept;
        const char* last = first;
        for (; last != first + got && ends < stretches; ++last) ends += *last == '\r' ? 1 : 0;
        const std::string_view text(window.get(), static_cast<std::size_t>(last - window.get()));
        if (holdsKeyword(text)) return true;
        if (got < textWindowSize) return false;
        kept = std::min(text.size(), longestKeyword - 1);
        std::memmove(window.get(), text.data() + text.size() - kept, kept);
    }
    return false;
}

FileStatus readStlText(FileBufferIn& file, Mesh& mesh, MeshReadingReport& report)
{
    return StlTextReader(file, mesh, report).read();
}

}  // namespace tavrix::detail
