#include "commands/Command.h"

#include <cmath>
#include <cstdio>
#include <memory>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "arguments/SharedArguments.h"
#include "arguments/Validators.h"
#include "files/FileInfo.h"
#include "files/MeshNotes.h"
#include "run/Failure.h"
#include "run/Text.h"

namespace tavrix::tool
{

namespace
{

using Json = nlohmann::ordered_json;

struct InfoOptions
{
    std::vector<std::string> inputs;
    bool json = false;
    bool strict = false;
    bool thickness = false;
};

// Text for people

/// A count with commas between its thousands.
std::string withCommas(uint64 count)
{
    std::string text = std::to_string(count);
    for (std::size_t n = text.size(); n > 3; n -= 3) text.insert(n - 3, 1, ',');
    return text;
}

std::string number(double value) { return formatted("%.6g", value); }

/// "1 face", "2 faces".
std::string counted(uint64 count, const std::string& one, const std::string& many)
{
    return withCommas(count) + " " + (count == 1 ? one : many);
}

std::string sizeText(uint64 bytes)
{
    if (bytes < 1024) return counted(bytes, "byte", "bytes");
    const double kibi = static_cast<double>(bytes) / 1024;
    return kibi < 1024 ? formatted("%.1f KiB", kibi) : formatted("%.1f MiB", kibi / 1024);
}

void printLine(const char* what, const std::string& text) { std::printf("  %-10s %s\n", what, text.c_str()); }

void printBox(const Box3D& box)
{
    static constexpr const char* axes[] = {"x", "y", "z"};
    if (box == Box3D::empty()) return printLine("box", "none");
    for (uint32 axis = 0; axis < 3; ++axis)
        printLine(axis == 0 ? "box" : "", axes[axis] + (" from " + number(box.min[axis])) + " to " +
                                              number(box.max[axis]) + ", " +
                                              number(box.max[axis] - box.min[axis]) + " long");
}

std::string vectorText(const Vector3D& v)
{
    return "(" + number(v.x) + ", " + number(v.y) + ", " + number(v.z) + ")";
}

std::string attributeText(const AttributeRange& attribute)
{
    const auto text = [&](const Vector3D& v)
    { return attribute.components == 1 ? number(v.x) : vectorText(v); };
    return attribute.name + " from " + text(attribute.min) + " to " + text(attribute.max);
}

void print(const std::vector<AttributeRange>& attributes)
{
    for (std::size_t n = 0; n < attributes.size(); ++n)
        printLine(n == 0 ? "attributes" : "", attributeText(attributes[n]));
}

void print(const ParticleInfo& info)
{
    printLine("particles", withCommas(info.count));
    if (info.nonFinite > 0) printLine("", withCommas(info.nonFinite) + " without a finite position");
    printBox(info.box);
    if (info.speeds)
        printLine("speed", "from " + number(info.speeds->slowest) + " to " + number(info.speeds->fastest));
    printLine("spacing",
              info.spacing ? number(*info.spacing) + ", radius " + number(*info.spacing / 2) + " (estimated)"
                           : "unknown: no two particles lie apart");
    print(info.attributes);
}

std::string groupText(const std::vector<MeshInfo::Group>& groups)
{
    constexpr std::size_t shown = 8;
    std::string text = withCommas(groups.size()) + ":";
    for (std::size_t n = 0; n < std::min(groups.size(), shown); ++n)
        text +=
            (n > 0 ? ", " : " ") + groups[n].name + " (" + counted(groups[n].faces, "face", "faces") + ")";
    return groups.size() > shown ? text + ", ..." : text;
}

std::string channelText(const MeshInfo& info)
{
    std::string text;
    if (info.hasNormals) text += ", normals";
    if (info.hasTexture) text += ", texture coordinates";
    if (info.hasVelocity) text += ", velocities";
    return text.empty() ? "none" : text.substr(2);
}

std::string surfaceText(const MeshInfo& info)
{
    const MeshTopology& topology = info.topology;
    std::string text = topology.isClosed() ? "closed" : "open";
    if (!topology.isConsistentlyOriented())
        return text + ", faces of mixed orientation along " +
               counted(topology.inconsistentEdgeCount, "edge", "edges");
    if (!topology.isClosed()) return text + ", consistently oriented";
    return text + (info.volume < 0 ? ", faces look inwards" : ", faces look outwards");
}

std::string flatText(const MeshTopology& topology)
{
    std::string text;
    if (topology.flatFaceCount > 0) text = withCommas(topology.flatFaceCount) + " without area";
    if (topology.collapsedFaceCount > 0)
        text += (text.empty() ? "" : ", ") + withCommas(topology.collapsedFaceCount) + " with a corner twice";
    return text;
}

std::string manifoldText(const MeshTopology& topology)
{
    if (topology.isManifold()) return "yes";
    return "no, " + counted(topology.nonManifoldEdgeCount, "edge", "edges") + " of three or more faces, " +
           counted(topology.nonManifoldVertexCount, "vertex", "vertices") + " of several fans";
}

void print(const MeshInfo& info)
{
    const MeshTopology& topology = info.topology;
    printLine("groups", groupText(info.groups));
    printLine("vertices",
              withCommas(info.vertices) +
                  (info.repeated > 0 ? ", " + withCommas(info.repeated) + " at the place of another" : ""));
    if (info.nonFinite > 0) printLine("", withCommas(info.nonFinite) + " without finite coordinates");
    printLine("faces", withCommas(info.faces));
    if (!info.report.isWhole()) printLine("left out", formats::leftOutText(info.report));
    if (const std::string flat = flatText(topology); !flat.empty()) printLine("", flat);
    printLine("channels", channelText(info));
    print(info.attributes);
    printBox(info.box);
    printLine("surface", surfaceText(info));
    printLine("edges", withCommas(topology.edgeCount) + ": " + withCommas(topology.boundaryEdgeCount) +
                           " on borders, " + withCommas(topology.nonManifoldEdgeCount) +
                           " with three or more faces");
    if (info.isJoined) printLine("", "(counted with vertices at one place joined)");
    printLine("manifold", manifoldText(topology));
    if (topology.selfContactCount > 0)
        printLine("contacts", "sheets touch at " + counted(topology.selfContactCount, "vertex", "vertices"));
    printLine("parts", withCommas(info.components.parts) +
                           (info.components.cavities > 0
                                ? ", " + counted(info.components.cavities, "cavity", "cavities")
                                : ""));
    printLine("area", number(info.area));
    printLine("volume", number(info.volume) + (topology.isClosed() ? "" : " (of the open surface)"));
    if (!info.thickness) return;
    printLine("thickness", "from " + number(info.thickness->least) + ", at " +
                               vectorText(info.thickness->thinnest) + ", to " +
                               number(info.thickness->greatest));
    printLine("", "half of the area is thinner than " + number(info.thickness->median));
}

std::string particleText(const ParticleInfo& info)
{
    if (info.version) return "particle file, version " + std::to_string(*info.version);
    return info.format + " particle file";
}

void printText(const std::string& path, const FileInfo& info)
{
    const auto* particles = std::get_if<ParticleInfo>(&info.content);
    const std::string format =
        particles ? particleText(*particles) : std::get<MeshInfo>(info.content).format + " mesh";
    std::printf("%s: %s, %s\n", path.c_str(), format.c_str(), sizeText(info.bytes).c_str());
    std::visit([](const auto& content) { print(content); }, info.content);
}

// JSON; numbers that are not finite are null there

Json vectorJson(const Vector3D& v) { return Json::array({v.x, v.y, v.z}); }

Json boxJson(const Box3D& box)
{
    if (box == Box3D::empty()) return nullptr;
    return {{"min", vectorJson(box.min)}, {"max", vectorJson(box.max)}};
}

Json json(const AttributeRange& attribute)
{
    const auto value = [&](const Vector3D& v)
    { return attribute.components == 1 ? Json(v.x) : vectorJson(v); };
    return {{"name", attribute.name},
            {"components", attribute.components},
            {"min", value(attribute.min)},
            {"max", value(attribute.max)}};
}

Json json(const ParticleInfo& info)
{
    Json spacing = nullptr, radius = nullptr;
    if (info.spacing)
    {
        spacing = *info.spacing;
        radius = *info.spacing / 2;
    }
    Json speed = nullptr, attributes = Json::array();
    if (info.speeds) speed = {{"min", info.speeds->slowest}, {"max", info.speeds->fastest}};
    for (const AttributeRange& attribute : info.attributes) attributes.push_back(json(attribute));
    return {{"kind", "particles"},         {"version", info.version ? Json(*info.version) : Json(nullptr)},
            {"particles", info.count},     {"nonFinite", info.nonFinite},
            {"box", boxJson(info.box)},    {"speed", speed},
            {"estimatedSpacing", spacing}, {"estimatedRadius", radius},
            {"format", info.format},       {"attributes", attributes}};
}

Json json(const MeshInfo& info)
{
    Json groups = Json::array(), channels = Json::array();
    for (const MeshInfo::Group& group : info.groups)
        groups.push_back({{"name", group.name}, {"vertices", group.vertices}, {"faces", group.faces}});
    if (info.hasNormals) channels.push_back("normals");
    if (info.hasTexture) channels.push_back("texture");
    if (info.hasVelocity) channels.push_back("velocity");
    Json attributes = Json::array();
    for (const AttributeRange& attribute : info.attributes) attributes.push_back(json(attribute));
    const MeshTopology& topology = info.topology;
    Json thickness = nullptr;
    if (info.thickness)
        thickness = {{"min", info.thickness->least},
                     {"max", info.thickness->greatest},
                     {"median", info.thickness->median},
                     {"thinnest", vectorJson(info.thickness->thinnest)}};
    return {{"kind", "mesh"},
            {"format", info.format},
            {"groups", groups},
            {"vertices", info.vertices},
            {"faces", info.faces},
            {"nonFinite", info.nonFinite},
            {"facesLeftOut", info.report.faces},
            {"badCorners", info.report.corners},
            {"missingNumbers", info.report.numbers},
            {"endsTooEarly", info.report.isCut},
            {"attributes", attributes},
            {"channels", channels},
            {"box", boxJson(info.box)},
            {"repeatedVertices", info.repeated},
            {"edges", topology.edgeCount},
            {"boundaryEdges", topology.boundaryEdgeCount},
            {"nonManifoldEdges", topology.nonManifoldEdgeCount},
            {"nonManifoldVertices", topology.nonManifoldVertexCount},
            {"inconsistentEdges", topology.inconsistentEdgeCount},
            {"selfContacts", topology.selfContactCount},
            {"facesWithoutArea", topology.flatFaceCount},
            {"collapsedFaces", topology.collapsedFaceCount},
            {"joined", info.isJoined},
            {"manifold", topology.isManifold()},
            {"closed", topology.isClosed()},
            {"oriented", topology.isConsistentlyOriented()},
            {"parts", info.components.parts},
            {"cavities", info.components.cavities},
            {"area", info.area},
            {"volume", info.volume},
            {"thickness", thickness}};
}

Json fileJson(const std::string& path, const FileInfo& info)
{
    Json object{{"file", path}, {"bytes", info.bytes}};
    object.update(std::visit([](const auto& content) { return json(content); }, info.content));
    return object;
}

int runInfo(const InfoOptions& options)
{
    Json all = Json::array();
    int status = 0;
    for (const std::string& path : options.inputs) try
        {
            const FileInfo info = inspect(path, options.strict, options.thickness);
            if (options.json)
                all.push_back(fileJson(path, info));
            else
                printText(path, info);
        }
        catch (const Failure& failure)
        {
            std::fprintf(stderr, "tavrix: %s\n", failure.what());
            all.push_back({{"file", path}, {"error", failure.what()}});
            status = 1;
        }
    if (options.json) std::printf("%s\n", all.dump(2, ' ', false, Json::error_handler_t::replace).c_str());
    return status;
}

}  // namespace

void addInfoCommand(CLI::App& app, Command& command)
{
    const auto options = std::make_shared<InfoOptions>();
    CLI::App* info = app.add_subcommand("info", "Tell what particle and mesh files hold");
    info->add_option("FILE", options->inputs, anyFileText())
        ->required()
        ->check(anyFile(inputExtensions()))
        ->option_text("...");
    addStrict(*info, options->strict);
    info->add_flag("--json", options->json, "Print an array of objects, one a file, for other programs");
    info->add_flag("--thickness", options->thickness,
                   "Measure how thick the walls of closed meshes are: through each face to the other side");
    info->footer(
        "Edges, parts and the like are counted as the file has them when it is closed, else\n"
        "with vertices at one place joined, for not every format can say that faces share them.\n"
        "Manifold: every edge is of one face or two, and the faces around every vertex form one\n"
        "fan. Contacts: sheets that touch and share no vertex. A cavity: a part whose faces look\n"
        "inwards, within the solid of others.\n\n"
        "Examples:\n"
        "  tavrix info water.bin water.obj\n"
        "  tavrix info --json part.stl | jq '.[].volume'");
    info->callback(
        [options, &command] {
            command = {[options] { return runInfo(*options); }, options->inputs.front(), ""};
        });
}

}  // namespace tavrix::tool
