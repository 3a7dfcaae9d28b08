#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <tavrix/foundation/ArrayOfPtr.h>
#include <tavrix/foundation/Tuple.h>
#include <tavrix/foundation/Vector3.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/meshio/MeshReadingReport.h>
#include <tavrix/meshio/ObjReadingMode.h>

namespace tavrix::detail
{

/// A corner of a face as 0-based indices; noIndex where the corner has no such element.
struct ObjCorner
{
    uint32 position = noIndex;
    uint32 texture = noIndex;
    uint32 normal = noIndex;
};

/// A face of more than three corners: where its triangles begin, and how many they are. Triangle i has the
/// corners 0, i + 1 and i + 2 of the face.
struct ObjPolygon
{
    uint32 first, count;
};

/// One group of a file: its name and the corner indices of its triangles. The texture and normal triples are
/// as many as the triangles, or none as long as no corner had such an index.
struct ObjGroup
{
    std::string name;
    std::vector<Index3> positions;
    std::vector<Index3> textures;
    std::vector<Index3> normals;
    /// The faces of more than one triangle, in their order.
    std::vector<ObjPolygon> polygons;

    void addTriangle(const ObjCorner& a, const ObjCorner& b, const ObjCorner& c);
};

/// A file's elements as they stand in it, read by ObjFirstPass and turned into meshes by BuildObjects.
class ObjReader
{
public:
    /// With a report, faces of any number of corners are taken, comments may stand behind statements, and
    /// what is left out is counted.
    explicit ObjReader(ObjReadingMode mode, MeshReadingReport* report = nullptr);

    /// Reads every line and collects elements, and faces by group.
    template <class Lines>
    void ObjFirstPass(Lines& lines)
    {
        for (std::string_view line; lines.ReadLine(line);) readStatement(line);
    }
    /// Whether the last statement that was read had all that it needs.
    bool endsWhole() const { return _isWhole; }

    /// Appends one mesh per group that has faces. A position index without an element drops its face, another
    /// index without one counts as none.
    void BuildObjects(bool withTextures, ArrayOfPtr<Mesh>& meshes);

private:
    void readStatement(std::string_view line);
    void switchGroup(std::string_view name);
    void readFace(const char* p, const char* end);
    void countLeftOut(uint64 MeshReadingReport::*what, uint64 count);
    void countFaults(const ObjGroup& group);
    void triangulate(ObjGroup& group) const;
    Vector3F readVector(const char* p, const char* end, uint32 needed);
    bool readCorner(const char*& p, const char* end, ObjCorner& corner) const;
    ObjGroup* GetGroupByName(const std::string& name) const;
    ObjGroup* addGroup(std::string name);
    void dropFacesWithoutPosition(ObjGroup& group) const;

    ObjReadingMode _mode;
    MeshReadingReport* _report;
    bool _isWhole = true;
    std::vector<Vector3F> _positions, _textures, _normals;
    std::vector<ObjCorner> _corners;  ///< of the face that is being read
    std::vector<std::unique_ptr<ObjGroup>> _groups;
    std::unordered_map<std::string, ObjGroup*> _groupByName;
    ObjGroup* _current = nullptr;
    uint32 _groupLines = 0;
};

}  // namespace tavrix::detail
