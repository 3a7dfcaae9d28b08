#include "formats/Off.h"

#include <array>

#include <tavrix/mesh/PolygonTriangulation.h>

#include "formats/Bytes.h"
#include "formats/Failure.h"
#include "formats/TextReader.h"

namespace tavrix::formats
{

namespace
{

class OffReader
{
public:
    OffReader(std::string_view text, const std::string& path, MeshReadingReport& report)
        : _text(text), _path(path), _report(report)
    {
    }

    Surface read()
    {
        readHeader();
        const uint64 vertices = readCount(), faces = readCount();
        nextLine();
        for (uint64 n = 0; n < vertices; ++n) readVertex(lineOrRefuse());
        for (uint64 n = 0; n < faces; ++n) readFace(lineOrRefuse());
        if (_hasColors) addColors();
        return std::move(_surface);
    }

private:
    [[noreturn]] void refuse(const std::string& what) const { throw Failure(_path + ": " + what); }

    /// The rest of the line without a comment.
    std::string_view nextLine()
    {
        const std::string_view line = _text.line();
        return line.substr(0, line.find('#'));
    }

    std::string_view lineOrRefuse()
    {
        for (;;)
        {
            if (_text.isAtEnd()) refuse("is cut off; write or copy it again");
            const std::string_view line = nextLine();
            if (line.find_first_not_of(" \t\r\v\f") != std::string_view::npos) return line;
        }
    }

    void skipComments()
    {
        for (_text.skipBlanks(); _text.rest().starts_with('#'); _text.skipBlanks()) _text.line();
    }

    void readHeader()
    {
        skipComments();
        const std::string_view word = _text.word();
        if (!word.ends_with("OFF")) refuse("is no OFF file; export the mesh again");
        const std::string_view letters = word.substr(0, word.size() - 3);
        if (letters.find_first_not_of("STCN") != std::string_view::npos)
            refuse("has other than three dimensions; export it with three");
        _hasNormals = letters.find('N') != std::string_view::npos;
        _hasColors = letters.find('C') != std::string_view::npos;
        skipComments();
        if (_text.rest().starts_with("BINARY")) refuse("is a binary OFF file; export it as text");
    }

    uint64 readCount()
    {
        skipComments();
        uint64 count = 0;
        if (!_text.number(count)) refuse("is a damaged OFF file: a count is missing; export it again");
        return count;
    }

    /// Numbers that follow; what is missing is 0 and counted.
    Vector3D readVector(TextReader& line)
    {
        Vector3D v{0, 0, 0};
        for (uint32 axis = 0; axis < 3; ++axis)
            if (!line.number(v[axis])) ++_report.numbers;
        return v;
    }

    void readVertex(std::string_view text)
    {
        TextReader line(text);
        _surface.positions.push_back(readVector(line));
        if (_hasNormals) _surface.normals.push_back(convert<float>(readVector(line)));
        if (_hasColors) _colors.push_back(convert<float>(readVector(line)));
    }

    void readFace(std::string_view text)
    {
        TextReader line(text);
        uint32 count = 0;
        bool isGood = line.number(count);
        _corners.clear();
        _places.clear();
        for (uint32 n = 0; n < count && isGood; ++n)
        {
            uint32 corner = noIndex;
            isGood = line.number(corner);
            if (!isGood) break;
            _corners.push_back(corner);
            if (corner < _surface.positions.size())
                _places.push_back(_surface.positions[corner]);
            else
                ++_report.corners;
        }
        if (!isGood || count < 3 || _places.size() < count)
        {
            ++_report.faces;
            return;
        }
        triangulatePolygon(_places, _triangles);
        for (const Index3& t : _triangles)
            _surface.triangles.push_back({_corners[t.a], _corners[t.b], _corners[t.c]});
    }

    /// Colours above 1 are of bytes.
    void addColors()
    {
        float largest = 0;
        for (const Vector3F& c : _colors) largest = std::max({largest, c.x, c.y, c.z});
        if (largest > 1)
            for (Vector3F& c : _colors) c *= 1.0f / 255;
        _surface.attributes.push_back({"color", std::move(_colors)});
    }

    TextReader _text;
    const std::string& _path;
    MeshReadingReport& _report;
    Surface _surface;
    Array<Vector3F> _colors;
    bool _hasNormals = false, _hasColors = false;
    std::vector<uint32> _corners;
    std::vector<Vector3D> _places;
    Array<Index3> _triangles;
};

}  // namespace

Surface readOff(const std::string& path, MeshReadingReport& report)
{
    const Bytes bytes = readBytes(path);
    return OffReader(bytes.view(), path, report).read();
}

}  // namespace tavrix::formats
