// Smoke rises in a closed room in the plane, and every frame becomes a picture.
//
//     smoke FOLDER [FRAMES]
//
// writes FOLDER/smoke_000.pgm, smoke_001.pgm, ...: 60 frames when absent, 25 a second, grey where smoke is,
// and prints how much smoke there is and how much of the velocities' divergence the pressure left.
//
// A step is that of "stable fluids" (J. Stam, SIGGRAPH 1999): warm smoke is lifted, swirls get back what the
// grid damps (R. Fedkiw et al., SIGGRAPH 2001), the flow carries velocities, smoke and heat along, and
// pressure takes the divergence out of the velocities.
//
// The example shows fields in the plane: derivatives, and MacCormack advection.

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <tavrix/fields/FieldDerivatives.h>
#include <tavrix/fields/PlaneAdvection.h>
#include <tavrix/platform/Hardware.h>

using namespace tavrix;

namespace
{

// Lengths in metres, times in seconds.
constexpr uint32 nodesX = 128, nodesY = 192;
constexpr double spacing = 1.0 / nodesX;
constexpr double timeStep = 1.0 / 50;
constexpr uint32 stepsPerFrame = 2;
constexpr float lift = 2.5f;     ///< of the warmest smoke, an acceleration
constexpr float swirl = 4.0f;    ///< strength of what brings swirls back
constexpr float cooling = 0.5f;  ///< a second
constexpr int iterations = 60;   ///< of the pressure
constexpr float overRelaxed = 1.9f;
constexpr double sourceRadius = 0.08;

const uint32 threads = Hardware::getThreadCount();

struct Room
{
    Vector2Field2<float> velocity;
    ScalarField2<float> smoke, heat, pressure;

    Room()
    {
        for (ScalarField2<float>* field : {&smoke, &heat, &pressure})
        {
            field->reset(nodesX, nodesY, spacing);
            field->set(0.0f);
        }
        velocity.reset(smoke.getGrid());
        velocity.set({0, 0});
    }
};

/// Use(i, j) for the nodes that are not at a wall.
template <class Use>
void forEachInner(Use use)
{
    for (uint32 i = 1; i + 1 < nodesX; ++i)
        for (uint32 j = 1; j + 1 < nodesY; ++j) use(i, j);
}

/// Smoke comes out of a round hole near the floor, which sways.
void pour(Room& room, double time)
{
    const Vector2D hole{0.06 * std::sin(5 * time), room.smoke.getGrid().origin.y + 0.15};
    forEachInner(
        [&](uint32 i, uint32 j)
        {
            if (length(room.smoke.getGrid().getPoint(i, j) - hole) > sourceRadius) return;
            room.smoke.set(i, j, 1);
            room.heat.set(i, j, 1);
        });
}

/// Heat lifts, and swirls are pushed towards where they turn fastest.
void push(Room& room)
{
    ScalarField2<float> turning, strength;
    Vector2Field2<float> towards;
    curl(room.velocity, turning);
    strength = turning;
    for (float& s : strength.refArrScalars()) s = std::fabs(s);
    gradient(strength, towards);
    constexpr auto step = static_cast<float>(timeStep), h = static_cast<float>(spacing);
    forEachInner(
        [&](uint32 i, uint32 j)
        {
            const Vector2F t = towards.get(i, j), n = t * (1 / (length(t) + 1e-6f));
            const Vector2F turn = Vector2F{n.y, -n.x} * (turning.get(i, j) * swirl * h);
            const Vector2F up{0, lift * room.heat.get(i, j)};
            room.velocity.set(i, j, room.velocity.get(i, j) + (turn + up) * step);
        });
}

/// Nothing flows through the walls.
void closeWalls(Vector2Field2<float>& velocity)
{
    for (uint32 i = 0; i < nodesX; ++i)
        for (const uint32 j : {0u, nodesY - 1}) velocity.set(i, j, {velocity.get(i, j).x, 0});
    for (uint32 j = 0; j < nodesY; ++j)
        for (const uint32 i : {0u, nodesX - 1}) velocity.set(i, j, {0, velocity.get(i, j).y});
}

/// Solves the Poisson equation for the pressure that takes the divergence away, by successive
/// over-relaxation; it has no slope at the walls. Begins with the pressure of the step before.
void solve(ScalarField2<float>& pressure, const ScalarField2<float>& outflow)
{
    constexpr auto square = static_cast<float>(spacing * spacing);
    for (int n = 0; n < iterations; ++n)
        forEachInner(
            [&](uint32 i, uint32 j)
            {
                const float own = pressure.get(i, j);
                const auto beside = [&](uint32 a, uint32 b)
                { return a == 0 || b == 0 || a + 1 == nodesX || b + 1 == nodesY ? own : pressure.get(a, b); };
                const float sum = beside(i - 1, j) + beside(i + 1, j) + beside(i, j - 1) + beside(i, j + 1);
                const float exact = (sum - square * outflow.get(i, j)) / 4;
                pressure.set(i, j, own + (exact - own) * overRelaxed);
            });
    for (uint32 i = 0; i < nodesX; ++i)
        for (const uint32 j : {0u, nodesY - 1}) pressure.set(i, j, pressure.get(i, j == 0 ? 1 : j - 1));
    for (uint32 j = 0; j < nodesY; ++j)
        for (const uint32 i : {0u, nodesX - 1}) pressure.set(i, j, pressure.get(i == 0 ? 1 : i - 1, j));
}

double sizeOf(const ScalarField2<float>& field)
{
    double squares = 0;
    forEachInner([&](uint32 i, uint32 j) { squares += double{field.get(i, j)} * field.get(i, j); });
    return std::sqrt(squares);
}

/// Takes the divergence out of the velocities, but for what alternates from node to node, which pressure at
/// the same nodes does not see. Returns which part of it stays.
double project(Room& room)
{
    ScalarField2<float> outflow;
    Vector2Field2<float> slope;
    closeWalls(room.velocity);
    divergence(room.velocity, outflow);
    const double before = sizeOf(outflow);
    solve(room.pressure, outflow);
    gradient(room.pressure, slope);
    for (uint32 m = 0; m < slope.size(); ++m) room.velocity[m] = room.velocity[m] - slope[m];
    closeWalls(room.velocity);
    divergence(room.velocity, outflow);
    return sizeOf(outflow) / std::max(before, 1e-30);
}

/// Makes a step. Returns which part of the divergence stayed.
double advance(Room& room, double time)
{
    constexpr auto scheme = PlaneAdvectionScheme::MacCormack;
    pour(room, time);
    push(room);
    const double left = project(room);
    const Vector2Field2<float> flow = room.velocity;
    advect(room.smoke, flow, timeStep, scheme, threads);
    advect(room.heat, flow, timeStep, scheme, threads);
    advect(room.velocity, flow, timeStep, scheme, threads);
    for (float& h : room.heat.refArrScalars()) h *= 1 - cooling * static_cast<float>(timeStep);
    return left;
}

/// Writes the smoke as a picture, up being up. False when it cannot be written.
bool write(const ScalarField2<float>& smoke, const std::string& path)
{
    std::vector<unsigned char> pixels;
    for (uint32 j = nodesY; j-- > 0;)
        for (uint32 i = 0; i < nodesX; ++i)
            pixels.push_back(static_cast<unsigned char>(255 * std::clamp(smoke.get(i, j), 0.0f, 1.0f)));
    std::FILE* const file = std::fopen(path.c_str(), "wb");
    if (!file) return false;
    std::fprintf(file, "P5\n%u %u\n255\n", nodesX, nodesY);
    const bool isWhole = std::fwrite(pixels.data(), 1, pixels.size(), file) == pixels.size();
    return (std::fclose(file) == 0) && isWhole;
}

int run(const std::string& folder, uint32 frames)
{
    std::error_code ignored;
    std::filesystem::create_directories(std::u8string(folder.begin(), folder.end()), ignored);
    Room room;
    for (uint32 frame = 0; frame < frames; ++frame)
    {
        double left = 0;
        for (uint32 s = 0; s < stepsPerFrame; ++s)
            left = advance(room, timeStep * (frame * stepsPerFrame + s));
        char name[32];
        std::snprintf(name, sizeof name, "/smoke_%03u.pgm", frame);
        if (!write(room.smoke, folder + name))
        {
            std::fprintf(stderr, "smoke: cannot write %s%s: is the folder there, and the disk not full?\n",
                         folder.c_str(), name);
            return 1;
        }
        double smoke = 0;
        for (const float s : room.smoke.getArrScalars()) smoke += s * spacing * spacing;
        std::printf("%s%s  %.4f m2 of smoke, %.2f of the divergence left\n", folder.c_str(), name, smoke,
                    left);
    }
    return 0;
}

}  // namespace

int main(int count, char** arguments)
{
    uint32 frames = 60;
    const std::string_view text = count == 3 ? arguments[2] : "60";
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), frames);
    const bool isCount =
        error == std::errc() && end == text.data() + text.size() && frames > 0 && frames <= 1000;
    if (count >= 2 && count <= 3 && arguments[1][0] != '-' && isCount) return run(arguments[1], frames);
    std::fputs("usage: smoke FOLDER [FRAMES]   1 to 1000 of them\n", stderr);
    return 2;
}
