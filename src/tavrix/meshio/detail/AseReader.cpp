#include <tavrix/meshio/detail/AseReader.h>

#include <algorithm>

#include <tavrix/platform/NumberText.h>
#include <tavrix/platform/TX_Tokenizer.h>

namespace tavrix::detail
{

namespace
{

/// Cuts off what the text begins with: a brace, a quoted text with its quotes, or a word. Empty at the end.
std::string_view nextWord(std::string_view& rest)
{
    rest.remove_prefix(std::min(rest.find_first_not_of(TX_Tokenizer::whiteSpace), rest.size()));
    std::size_t length = 0;
    if (rest.empty()) return rest;
    if (rest[0] == '{' || rest[0] == '}')
        length = 1;
    else if (rest[0] == '"')
        length = std::min(rest.find('"', 1), rest.size() - 1) + 1;
    else
        length = std::min(rest.find_first_of(" \t\n\v\f\r{}\""), rest.size());
    const std::string_view word = rest.substr(0, length);
    rest.remove_prefix(length);
    return word;
}

/// Cuts off the arguments of a statement: what comes before the next statement or brace.
std::string_view arguments(std::string_view& rest)
{
    const std::string_view found = rest.substr(0, rest.find_first_of("*{}"));
    rest.remove_prefix(found.size());
    return found;
}

bool readNumber(std::string_view word, float& value)
{
    return !word.empty() &&
           parseFloat(word.data(), word.data() + word.size(), value) == word.data() + word.size();
}

/// A number of a vertex, 0 or more.
bool readIndex(std::string_view word, uint32& index)
{
    int32 value = 0;
    if (word.empty() || parseInt(word.data(), word.data() + word.size(), value) != word.data() + word.size())
        return false;
    index = static_cast<uint32>(value);
    return value >= 0;
}

}  // namespace

void AseVertices::add(uint32 number, const Vector3D& position)
{
    if (const uint32 place = find(number); place != noIndex)
    {
        _positions[place] = position;
        return;
    }
    if (_isCounting && number != _positions.size())
    {
        _isCounting = false;
        for (uint32 n = 0; n < _positions.size(); ++n) _places.emplace(n, n);
    }
    if (!_isCounting) _places.emplace(number, _positions.size());
    _positions.push_back(position);
}

uint32 AseVertices::find(uint32 number) const
{
    if (_isCounting) return number < _positions.size() ? number : noIndex;
    const auto found = _places.find(number);
    return found == _places.end() ? noIndex : found->second;
}

void AseReader::readLine(std::string_view rest)
{
    for (std::string_view word = nextWord(rest); !word.empty(); word = nextWord(rest))
        if (word == "{")
            open();
        else if (word == "}")
            close();
        else if (word[0] == '*')
        {
            _keyword = word.substr(1);
            readStatement(rest);
        }
}

void AseReader::readStatement(std::string_view& rest)
{
    if (_keyword == "MESH_VERTEX" && isIn(Block::vertices))
        readVertex(rest);
    else if (_keyword == "MESH_FACE" && isIn(Block::faces))
        readFace(rest);
    else if (_keyword == "NODE_NAME" && isIn(Block::object))
        readName(rest);
}

void AseReader::readName(std::string_view& rest)
{
    std::string_view word = nextWord(rest);
    if (!word.empty() && word[0] == '"') word = word.substr(1, word.size() - 1 - (word.back() == '"'));
    _name = word;
}

void AseReader::readVertex(std::string_view& rest)
{
    TX_Tokenizer words(arguments(rest));
    uint32 number = 0;
    float x = 0, y = 0, z = 0;
    if (readIndex(words.readNextToken(), number) && readNumber(words.readNextToken(), x) &&
        readNumber(words.readNextToken(), y) && readNumber(words.readNextToken(), z))
        _vertices.add(number, {double{x}, double{y}, double{z}});
}

void AseReader::readFace(std::string_view& rest)
{
    // "0: A: 4 B: 5 C: 6 AB: 1 ...", with or without the blanks
    TX_Tokenizer words(arguments(rest), ": \t\n\v\f\r");
    words.readNextToken();
    Index3 face{};
    for (uint32 corner = 0; corner < 3; ++corner)
        if (words.readNextToken() != std::string_view("ABC").substr(corner, 1) ||
            !readIndex(words.readNextToken(), face[corner]))
            return;
    _faces.push_back(face);
}

void AseReader::open()
{
    const bool isOutside = _skipped == 0 && (_blocks.empty() || _blocks.back() == Block::group);
    if (isOutside && _keyword == "GROUP")
        open(Block::group);
    else if (isOutside && _keyword == "GEOMOBJECT")
        open(Block::object);
    else if ((isOutside || isIn(Block::object)) && _keyword == "MESH")
        open(Block::mesh);
    else if (isIn(Block::mesh) && _keyword == "MESH_VERTEX_LIST")
        open(Block::vertices);
    else if (isIn(Block::mesh) && _keyword == "MESH_FACE_LIST")
        open(Block::faces);
    else
        ++_skipped;
    _keyword.clear();
}

void AseReader::open(Block block)
{
    _blocks.push_back(block);
    _hasMesh |= block == Block::mesh;
    if (block == Block::object) _name.clear();
}

void AseReader::close()
{
    _keyword.clear();
    if (_skipped > 0)
    {
        --_skipped;
        return;
    }
    if (_blocks.empty()) return;
    if (_blocks.back() == Block::mesh) finishMesh();
    if (_blocks.back() == Block::object) _name.clear();
    _blocks.pop_back();
}

/// Makes a mesh of what was read, if that has faces.
void AseReader::finishMesh()
{
    auto mesh = std::make_unique<Mesh>();
    if (!_name.empty()) mesh->setName(_name.c_str());
    for (const Index3& face : _faces)
    {
        const Index3 triple{_vertices.find(face.a), _vertices.find(face.b), _vertices.find(face.c)};
        if (triple.a != noIndex && triple.b != noIndex && triple.c != noIndex)
            mesh->refTrindexPos().push_back(triple);
    }
    mesh->refTrindexNor() = mesh->trindexPos();
    mesh->refPos() = _vertices.positions();
    if (!mesh->isEmpty()) _meshes.push_back(std::move(mesh));
    _vertices = AseVertices();
    _faces.clear();
}

void AseReader::moveMeshes(ArrayOfPtr<Mesh>& meshes)
{
    for (std::unique_ptr<Mesh>& mesh : _meshes) meshes.push_back(mesh.release());
}

}  // namespace tavrix::detail
