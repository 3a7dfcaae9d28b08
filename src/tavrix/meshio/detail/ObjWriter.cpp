#include <tavrix/meshio/detail/ObjWriter.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include <tavrix/platform/FileBufferOut.h>
#include <tavrix/platform/NumberText.h>

namespace tavrix::detail
{

namespace
{

/// Text on its way to a file, through a buffer that always has room for the next number.
class TextOut
{
public:
    FileStatus open(const TX_String& path)
    {
        // the text is buffered here: blocks as large as this pass the file's own buffer
        constexpr uint32 noBuffer = 1;
        return _file.open(path, "wb", noBuffer);
    }

    TextOut& operator<<(char c)
    {
        *room(1) = c;
        ++_next;
        return *this;
    }
    TextOut& operator<<(std::string_view text)
    {
        while (!text.empty())
        {
            const std::string_view part = text.substr(0, bufferSize);
            std::memcpy(room(part.size()), part.data(), part.size());
            _next += part.size();
            text.remove_prefix(part.size());
        }
        return *this;
    }
    TextOut& operator<<(double value)
    {
        _next = printFixed6(room(maxFixed6Length), value);
        return *this;
    }
    TextOut& operator<<(uint64 value)
    {
        _next = printUInt(room(maxUIntLength), value);
        return *this;
    }

    bool isWell() const { return _file.status() == FileStatus::ok; }

    FileStatus close()
    {
        flush();
        return _file.close();
    }

private:
    static constexpr std::size_t bufferSize = 0x40000;

    char* room(std::size_t length)
    {
        if (static_cast<std::size_t>(_buffer.get() + bufferSize - _next) < length) flush();
        return _next;
    }

    void flush()
    {
        _file.writeBuffer(_buffer.get(), static_cast<std::size_t>(_next - _buffer.get()));
        _next = _buffer.get();
    }

    FileBufferOut _file;
    std::unique_ptr<char[]> _buffer{new char[bufferSize]};
    char* _next = _buffer.get();
};

/// How many elements stand in the file before a mesh: what its indices, which count from 1, begin with.
struct Offsets
{
    uint64 position = 1;
    uint64 texture = 1;
    uint64 normal = 1;
};

std::string inOneLine(std::string_view name)
{
    std::string line(name);
    std::replace_if(
        line.begin(), line.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
    return line;
}

const Array<Vector3F>* textureCoordinates(const Mesh& mesh)
{
    const Array<Vector3F>* uv = mesh.findArray<Vector3F>("UV_MAP_0");
    return uv && !uv->empty() && uv->size() == mesh.getPosSize() ? uv : nullptr;
}

template <class T>
void writeVectors(TextOut& out, std::string_view keyword, const Array<Vector3<T>>& vectors)
{
    for (const Vector3<T>& v : vectors)
        out << keyword << static_cast<double>(v.x) << ' ' << static_cast<double>(v.y) << ' '
            << static_cast<double>(v.z) << '\n';
}

void writeTextures(TextOut& out, const Array<Vector3F>& textures)
{
    for (const Vector3F& uv : textures)
        out << "vt " << static_cast<double>(uv.x) << ' ' << static_cast<double>(uv.y) << '\n';
}

template <bool withTextures, bool withNormals>
void writeFaces(TextOut& out, const Mesh& mesh, const Offsets& offsets)
{
    const Array<Index3>& positions = mesh.trindexPos();
    const Array<Index3>& normals = mesh.trindexNor();
    for (uint32 f = 0; f < positions.size(); ++f)
    {
        out << 'f';
        for (uint32 corner = 0; corner < 3; ++corner)
        {
            out << ' ' << offsets.position + positions[f][corner];
            if constexpr (withTextures) out << '/' << offsets.texture + positions[f][corner];
            if constexpr (withNormals)
                out << (withTextures ? std::string_view("/") : std::string_view("//"))
                    << offsets.normal + normals[f][corner];
        }
        out << '\n';
    }
}

void writeGroup(TextOut& out, const Mesh& mesh, bool withTextures, Offsets& offsets)
{
    const Array<Vector3F>* textures = withTextures ? textureCoordinates(mesh) : nullptr;
    const bool withNormals = !mesh.nor().empty() && mesh.trindexNor().size() == mesh.getFacesSize();
    out << "g " << inOneLine(mesh.getName().view()) << "\n\n#Vertices\n";
    writeVectors(out, "v ", mesh.pos());
    out << "\n#Vertex Normals\n";
    writeVectors(out, "vn ", mesh.nor());
    if (textures)
    {
        out << "#Texture coordinates\n";
        writeTextures(out, *textures);
    }
    out << "\n#Faces\n";
    if (textures && withNormals)
        writeFaces<true, true>(out, mesh, offsets);
    else if (textures)
        writeFaces<true, false>(out, mesh, offsets);
    else if (withNormals)
        writeFaces<false, true>(out, mesh, offsets);
    else
        writeFaces<false, false>(out, mesh, offsets);
    out << "\n#End group.\n";

    offsets.position += mesh.pos().size();
    offsets.normal += mesh.nor().size();
    offsets.texture += textures ? textures->size() : 0;
}

}  // namespace

FileStatus writeObj(const TX_String& fileName, std::span<const Mesh* const> meshes, bool withTextures)
{
    TextOut out;
    if (const FileStatus status = out.open(fileName); status != FileStatus::ok) return status;
    out << "#WaveFront .obj file\n#generated by The Framework.\n";
    Offsets offsets;
    for (const Mesh* mesh : meshes)
        if (out.isWell()) writeGroup(out, *mesh, withTextures, offsets);
    out << "\n#End of file.\n";
    return out.close();
}

}  // namespace tavrix::detail
