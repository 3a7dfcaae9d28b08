// Water as particles that take their velocities to a grid and changes of them back: every frame becomes a
// particle file, from which `tavrix surface` makes meshes.
//
//     flip FOLDER [FRAMES]
//
// writes FOLDER/frame_0000.bin, frame_0001.bin, ...: 60 frames when absent, 30 a second, y up, of a column of
// 13,824 particles that collapses in a tank, and prints their energy. The result is the same on every
// machine.
//
// The method is FLIP (J. U. Brackbill, H. M. Ruppel: Journal of Computational Physics 65, 1986; Y. Zhu,
// R. Bridson: ACM Transactions on Graphics 24(3), 2005): the grid knows pressure and gravity, and the
// particles keep what is finer than it.
//
// The grid is staggered: of the vector of a node, which is the middle of a cell, each component is that of
// the cell's lower side along its axis. So pressure sees every difference, and walls are sides of cells.
//
// The example shows a field of vectors: splatting, and evaluation at points.

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <tavrix/fields/ScalarField3.h>
#include <tavrix/fields/Vector3Field3.h>
#include <tavrix/particles/ParticleSystem_v3.h>
#include <tavrix/platform/Hardware.h>

using namespace tavrix;

namespace
{

using Vectors = Vector3Field3<float, float>;
using Scalars = ScalarField3<float, float>;

// Lengths in metres, times in seconds.
constexpr float spacing = 0.05f;
constexpr uint32 cells[3] = {34, 26, 14};   ///< along x, y, z; the outermost are walls
constexpr uint32 column[3] = {24, 32, 18};  ///< particles, two a cell along each axis
constexpr float particleSpacing = spacing / 2;
constexpr float fullWeight = 8;   ///< of the particles around the middle of a cell in the water
constexpr float stiffness = 8;    ///< how soon what is too dense spreads, a second
constexpr float picPart = 0.03f;  ///< of velocities taken from the grid as they are, which damps noise
constexpr Vector3F gravity{0, -9.81f, 0};
constexpr uint32 stepsPerFrame = 4;
constexpr float timeStep = 1.0f / (30 * stepsPerFrame);
constexpr int iterations = 80;  ///< of the pressure
constexpr float overRelaxed = 1.7f;

const uint32 threads = Hardware::getThreadCount();

struct Water
{
    Array<Vector3F> positions, velocities;
    Vectors before, after;  ///< velocities through sides, as splatted and with pressure and gravity
    Scalars weights, pressure;
    Box3F tank;
};

Water makeColumn()
{
    Water water;
    water.before.reset(cells[0], cells[1], cells[2], spacing);
    constexpr Vector3F half{spacing / 2, spacing / 2, spacing / 2};
    water.tank = {water.before.getBox().min + half, water.before.getBox().max - half};
    for (uint32 i = 0; i < column[0]; ++i)
        for (uint32 j = 0; j < column[1]; ++j)
            for (uint32 k = 0; k < column[2]; ++k)
            {
                const auto at = [](uint32 n) { return (static_cast<float>(n) + 0.5f) * particleSpacing; };
                water.positions.push_back(water.tank.min + Vector3F{at(i), at(j), at(k)});
                water.velocities.push_back({0, 0, 0});
            }
    return water;
}

/// The place at which the field has the component of an axis that flows at p.
Vector3F shifted(Vector3F p, uint32 axis)
{
    p[axis] += spacing / 2;
    return p;
}

/// Whether a wall is on the lower side of a cell along an axis.
bool isWall(const Index3& cell, uint32 axis) { return cell[axis] <= 1 || cell[axis] == cells[axis] - 1; }

Index3 lowerCell(Index3 cell, uint32 axis)
{
    --cell[axis];
    return cell;
}

/// Water slips along walls: in these it flows as beside them.
void slipAlongWalls(Vectors& field)
{
    for (uint32 m = 0; m < field.size(); ++m)
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            Index3 inner = field.getGrid().getIndexes(m);
            for (uint32 other = 0; other < 3; ++other)
                if (other != axis) inner[other] = std::clamp(inner[other], 1u, cells[other] - 2);
            field.refArrVectors()[m][axis] = field.get(inner)[axis];
        }
}

/// The particles' velocities come to the sides of cells, and their weights to the middles.
void splat(Water& water)
{
    Vectors component = water.before;
    Array<float> weights;
    component.splat(water.positions, water.velocities, &weights, threads);
    water.weights.adopt(component.getGrid(), std::move(weights));
    Array<Vector3F> places = water.positions;
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        for (uint32 n = 0; n < places.size(); ++n) places[n] = shifted(water.positions[n], axis);
        component.splat(places, water.velocities, nullptr, threads);
        for (uint32 m = 0; m < component.size(); ++m)
            water.before.refArrVectors()[m][axis] = component.get(m)[axis];
    }
    slipAlongWalls(water.before);
}

/// use(cell, monoindex) for all cells but those of the lower walls, which have no lower sides.
template <class Use>
void forEachCell(const Vectors& field, Use use)
{
    for (uint32 m = 0; m < field.size(); ++m)
    {
        const Index3 cell = field.getGrid().getIndexes(m);
        if (cell.a > 0 && cell.b > 0 && cell.c > 0) use(cell, m);
    }
}

bool isWet(const Water& water, const Index3& cell)
{
    for (uint32 axis = 0; axis < 3; ++axis)
        if (cell[axis] == 0 || cell[axis] == cells[axis] - 1) return false;
    return water.weights.get(cell) > 1;
}

/// What the pressure of a wet cell is to take away: what flows out of it, and less of it where there is more
/// than fits in.
float excessOf(const Water& water, const Index3& cell)
{
    float sum = 0;
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        Index3 upper = cell;
        ++upper[axis];
        sum += (water.after.get(upper)[axis] - water.after.get(cell)[axis]) / spacing;
    }
    return sum - std::max(water.weights.get(cell) / fullWeight - 1, 0.0f) * stiffness;
}

/// The pressure that a wet cell has beside its neighbours: air has none, and walls that of the cell.
float balanced(const Water& water, const Index3& cell, float excess)
{
    float sum = 0, open = 0;
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        Index3 upper = cell;
        ++upper[axis];
        if (!isWall(cell, axis)) sum += water.pressure.get(lowerCell(cell, axis)), ++open;
        if (!isWall(upper, axis)) sum += water.pressure.get(upper), ++open;
    }
    return (sum - spacing * spacing * excess) / std::max(open, 1.0f);
}

/// Solves the Poisson equation for the pressure by successive over-relaxation, from that of the step before.
void solve(Water& water)
{
    struct Wet
    {
        Index3 cell;
        uint32 monoindex;
        float excess;
    };
    std::vector<Wet> wet;
    Scalars pressure = water.weights;
    pressure.set(0.0f);
    forEachCell(water.after,
                [&](const Index3& cell, uint32 m)
                {
                    if (!isWet(water, cell)) return;
                    wet.push_back({cell, m, excessOf(water, cell)});
                    if (water.pressure.size() > 0) pressure[m] = water.pressure[m];
                });
    water.pressure = pressure;
    for (int n = 0; n < iterations; ++n)
        for (const Wet& w : wet)
        {
            float& p = water.pressure[w.monoindex];
            p += (balanced(water, w.cell, w.excess) - p) * overRelaxed;
        }
}

/// Adds gravity and the pressure's push to the velocities of the grid. Nothing flows through walls.
void push(Water& water)
{
    water.after = water.before;
    const auto forEachSide = [&](auto change)
    {
        forEachCell(water.after,
                    [&](const Index3& cell, uint32 m)
                    {
                        for (uint32 axis = 0; axis < 3; ++axis)
                        {
                            float& v = water.after.refArrVectors()[m][axis];
                            v = isWall(cell, axis) ? 0 : change(v, cell, axis);
                        }
                    });
    };
    forEachSide([](float v, const Index3&, uint32 axis) { return v + gravity[axis] * timeStep; });
    solve(water);
    forEachSide(
        [&](float v, const Index3& cell, uint32 axis)
        { return v - (water.pressure.get(cell) - water.pressure.get(lowerCell(cell, axis))) / spacing; });
    slipAlongWalls(water.after);
}

Vector3F velocityAt(const Vectors& field, const Vector3F& place)
{
    Vector3F v;
    for (uint32 axis = 0; axis < 3; ++axis) v[axis] = field.evalSafe(shifted(place, axis)).b[axis];
    return v;
}

Vector3F keptInTank(const Vector3F& p, const Box3F& tank)
{
    constexpr float gap = spacing / 20;
    Vector3F kept;
    for (uint32 axis = 0; axis < 3; ++axis)
        kept[axis] = std::clamp(p[axis], tank.min[axis] + gap, tank.max[axis] - gap);
    return kept;
}

/// Takes the grid's changes to the particles, and these along with their velocities.
void move(Water& water)
{
    for (uint32 n = 0; n < water.positions.size(); ++n)
    {
        const Vector3F place = water.positions[n];
        const Vector3F now = velocityAt(water.after, place), old = velocityAt(water.before, place);
        const Vector3F kept = water.velocities[n] + (now - old);
        water.velocities[n] = kept * (1 - picPart) + now * picPart;
        const Vector3F next = place + water.velocities[n] * timeStep;
        water.positions[n] = keptInTank(next, water.tank);
        for (uint32 axis = 0; axis < 3; ++axis)
            if (water.positions[n][axis] != next[axis]) water.velocities[n][axis] = 0;
    }
}

void advance(Water& water)
{
    splat(water);
    push(water);
    move(water);
}

/// Of a kilogram on average, from the floor up.
double energyOf(const Water& water)
{
    double sum = 0;
    for (uint32 n = 0; n < water.positions.size(); ++n)
        sum += dot(water.velocities[n], water.velocities[n]) / 2 -
               gravity.y * (water.positions[n].y - water.tank.min.y);
    return sum / water.positions.size();
}

/// How many cells are mostly water: its volume, as long as it does not collapse.
uint32 fullCells(const Water& water)
{
    const Array<float>& weights = water.weights.getArrScalars();
    return static_cast<uint32>(
        std::count_if(weights.begin(), weights.end(), [](float w) { return w > fullWeight / 2; }));
}

int run(const std::string& folder, uint32 frames)
{
    std::error_code ignored;
    std::filesystem::create_directories(std::u8string(folder.begin(), folder.end()), ignored);
    Water water = makeColumn();
    for (uint32 frame = 0; frame < frames; ++frame)
    {
        TX_String path(folder);
        path.appendFormat("/frame_%04u.bin", frame);
        ParticleSystem_v3 particles;
        particles.setArrPosition(water.positions);
        particles.setArrVelocity(water.velocities);
        if (particles.save_BIN(path) != 0)
        {
            std::fprintf(stderr, "flip: cannot write %s: is the folder there, and the disk not full?\n",
                         path.c_str());
            return 1;
        }
        for (uint32 step = 0; step < stepsPerFrame; ++step) advance(water);
        if (frame % 10 == 0)
            std::printf("frame %4u  energy %.3f J/kg, %u full cells\n", frame, energyOf(water),
                        fullCells(water));
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
    std::fputs("usage: flip FOLDER [FRAMES]   1 to 1000 of them\n", stderr);
    return 2;
}
