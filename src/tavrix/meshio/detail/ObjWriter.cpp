#include <tavrix/meshio/detail/ObjWriter.h>

#include <algorithm>
#include <cstring>
#include <string_view>

#include <tavrix/meshio/detail/BufferedWriter.h>
#include <tavrix/meshio/detail/MeshChannels.h>

namespace tavrix::detail
{

namespace
{

/// How many elements stand in the file before a mesh: what its indices, which count from 1, begin with.
struct Offsets
{
    uint64 position = 1;
    uint64 texture = 1;
    uint64 normal = 1;
};

/// Prints numbers as the file is to have them.
class NumberPrinter
{
public:
    explicit NumberPrinter(const ObjNumbers& numbers) : _numbers(numbers) {}

    template <class T>
    char* put(char* out, T value) const
    {
        if (_numbers.areShortest) return putShortest(out, value);
        if (_numbers.decimals == 6) return printFixed6(out, static_cast<double>(value));
        return printFixed(out, static_cast<double>(value), _numbers.decimals);
    }

    static constexpr std::size_t maxLength = std::max(maxFixed6Length, maxFixedLength);

private:
    static char* putShortest(char* out, float value) { return printFloat(out, value); }
    static char* putShortest(char* out, double value) { return printDouble(out, value); }

    ObjNumbers _numbers;
};

/// Writes the first `count` components of the vectors, a line each.
template <class T>
void writeVectors(BufferedWriter& out, std::string_view keyword, const Array<Vector3<T>>& vectors,
                  uint32 count, const NumberPrinter& numbers)
{
    out.writeItems(vectors.size(), 4 + 3 * (NumberPrinter::maxLength + 1),
                   [&](uint32 n, char* to)
                   {
                       to = std::copy(keyword.begin(), keyword.end(), to);
                       for (uint32 axis = 0; axis < count; ++axis)
                       {
                           *to++ = ' ';
                           to = numbers.put(to, vectors[n][axis]);
                       }
                       *to++ = '\n';
                       return to;
                   });
}

/// A slash and the number, whose digits are at hand where it is that of the position.
char* putIndex(char* out, uint64 number, uint64 position, const char* digits, std::size_t length)
{
    *out++ = '/';
    if (number != position) return printUInt(out, number);
    char copied[maxUIntLength];  // the two places overlap
    std::memcpy(copied, digits, maxUIntLength);
    std::memcpy(out, copied, maxUIntLength);
    return out + length;
}

template <bool withTextures, bool withNormals>
void writeFaces(BufferedWriter& out, const Mesh& mesh, const Offsets& offsets)
{
    const Array<Index3>& positions = mesh.trindexPos();
    const Array<Index3>& normals = mesh.trindexNor();
    const auto putCorner = [&](char* to, uint32 f, uint32 corner)
    {
        *to++ = ' ';
        const uint64 position = offsets.position + positions[f][corner];
        const char* const digits = to;
        to = printUInt(to, position);
        const auto length = static_cast<std::size_t>(to - digits);
        if constexpr (withTextures)
            to = putIndex(to, offsets.texture + positions[f][corner], position, digits, length);
        if constexpr (withNormals && !withTextures) *to++ = '/';
        if constexpr (withNormals)
            to = putIndex(to, offsets.normal + normals[f][corner], position, digits, length);
        return to;
    };
    out.writeItems(positions.size(), 8 + 9 * (maxUIntLength + 2),
                   [&](uint32 f, char* to)
                   {
                       *to++ = 'f';
                       for (uint32 corner = 0; corner < 3; ++corner) to = putCorner(to, f, corner);
                       *to++ = '\n';
                       return to;
                   });
}

void writeGroup(BufferedWriter& out, const Mesh& mesh, bool withTextures, const NumberPrinter& numbers,
                Offsets& offsets)
{
    const Array<Vector3F>* textures = withTextures ? findPerPosition(mesh, "UV_MAP_0") : nullptr;
    const bool withNormals = !mesh.nor().empty() && mesh.trindexNor().size() == mesh.getFacesSize();
    out << "g " << inOneLine(mesh.getName()) << "\n\n#Vertices\n";
    writeVectors(out, "v", mesh.pos(), 3, numbers);
    out << "\n#Vertex Normals\n";
    writeVectors(out, "vn", mesh.nor(), 3, numbers);
    if (textures)
    {
        out << "#Texture coordinates\n";
        writeVectors(out, "vt", *textures, 2, numbers);
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

int writeObj(const TX_String& fileName, std::span<const Mesh* const> meshes, bool withTextures,
             const ObjNumbers& numbers, CancelCallback callback)
{
    BufferedWriter out(callback);
    if (const FileStatus status = out.open(fileName); status != FileStatus::ok) return meshFileResult(status);
    out << "#WaveFront .obj file\n#generated by The Framework.\n";
    Offsets offsets;
    for (const Mesh* mesh : meshes)
        if (mesh && out.isWell()) writeGroup(out, *mesh, withTextures, NumberPrinter(numbers), offsets);
    out << "\n#End of file.\n";
    return out.close();
}

}  // namespace tavrix::detail
