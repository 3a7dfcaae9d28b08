#include <tavrix/implicit/detail/MeshDistance.h>

#include <cmath>
#include <vector>

#include <tavrix/fields/detail/LatticeNodes.h>
#include <tavrix/foundation/detail/SlabCuts.h>
#include <tavrix/implicit/detail/MeshDistanceKernel.h>
#include <tavrix/mesh/detail/MeshFaces.h>

namespace tavrix::detail
{

namespace
{

/// The x planes that a face may reach, half open, and about how many nodes it visits there.
struct FaceReach
{
    uint32 low, high;
    float visits;
};

/// Node visits that a worker makes between two polls: some milliseconds.
constexpr double visitsPerRound = 4e6;

/// The nodes within the band of a box, and a node to spare on every side.
NodeBox nodesAround(const LatticeNodes& lattice, const Box3D& box, double band)
{
    NodeBox nodes;
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        const double first = (box.min[axis] - band - lattice.nodes[axis][0]) * lattice.reciprocal[axis] - 1;
        const double last = (box.max[axis] + band - lattice.nodes[axis][0]) * lattice.reciprocal[axis] + 2;
        const double size = lattice.size[axis];
        nodes.low[axis] = static_cast<uint32>(std::clamp(first, 0.0, size));
        nodes.high[axis] = static_cast<uint32>(std::clamp(last, 0.0, size));
    }
    return nodes;
}

FaceReach reachOf(const LatticeNodes& lattice, const MeshFaces& mesh, uint32 face, double band)
{
    if (!mesh.isUsable(face)) return {0, 0, 0};
    const NodeBox nodes = nodesAround(lattice, mesh.box(face), band);
    double visits = 1;
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        if (nodes.low[axis] >= nodes.high[axis]) return {0, 0, 0};
        visits *= nodes.high[axis] - nodes.low[axis];
    }
    return {nodes.low[0], nodes.high[0], static_cast<float>(visits)};
}

/// Cuts the x planes into one slab a worker, of about equal numbers of visits.
std::vector<uint32> cutSlabs(const Array<FaceReach>& reaches, uint32 planeCount, uint32 threadCount,
                             Polling& polling)
{
    SlabCuts slabs(planeCount);
    inPieces(polling, reaches.size(), lightItems,
             [&](uint64 begin, uint64 end)
             {
                 for (uint64 f = begin; f < end; ++f)
                     if (const FaceReach& reach = reaches[f]; reach.low < reach.high)
                         slabs.add(reach.low, reach.high, double{reach.visits} / (reach.high - reach.low));
             });
    return slabs.cut(threadCount);
}

/// The x planes of one worker, the faces that reach them, and how far it has come.
template <class T>
struct Slab
{
    uint32 low, high;
    Array<uint32> faces;
    uint32 nextFace, nextPlane;
    Array<T> scratch;

    bool isDone() const { return nextFace == faces.size(); }
};

template <class T>
std::vector<Slab<T>> makeSlabs(const DistanceTarget<T>& target, const Array<FaceReach>& reaches,
                               uint32 threadCount, Polling& polling)
{
    const std::vector<uint32> cuts = cutSlabs(reaches, target.size[0], threadCount, polling);
    std::vector<Slab<T>> slabs(cuts.size() - 1);
    polledFor(polling, slabs.size(), threadCount,
              [&](uint32, uint64 begin, uint64 end)
              {
                  PollCounter faces(polling, lightItems);
                  for (uint64 s = begin; s < end; ++s)
                  {
                      Slab<T>& slab = slabs[s];
                      slab.low = slab.nextPlane = cuts[s];
                      slab.high = cuts[s + 1];
                      slab.nextFace = 0;
                      slab.scratch.resize(target.size[2]);
                      for (uint32 f = 0; f < reaches.size() && faces.add(1); ++f)
                          if (reaches[f].low < slab.high && reaches[f].high > slab.low)
                              slab.faces.push_back(f);
                  }
              });
    return slabs;
}

/// Faces that follow each other in a slab's list, and about how many of its nodes they visit.
struct FaceRun
{
    uint32 count;
    double visits;
};

/// The next faces of a slab that make a step, or the next one alone where it makes more.
template <class T>
FaceRun nextRun(const Array<FaceReach>& reaches, const Slab<T>& slab)
{
    FaceRun run{0, 0};
    for (uint32 n = slab.nextFace; n < slab.faces.size() && run.visits < visitsPerRound; ++n)
    {
        const FaceReach& reach = reaches[slab.faces[n]];
        const double planes = std::min(slab.high, reach.high) - std::max(slab.low, reach.low);
        const double visits = double{reach.visits} * planes / (reach.high - reach.low);
        if (run.count > 0 && visits > visitsPerRound) break;
        run = {run.count + 1, run.visits + visits};
    }
    return run;
}

/// One step of a slab: some faces or, where one alone is more than that, some planes of it.
template <class T>
void lowerSlab(const DistanceTarget<T>& target, const MeshFaces& mesh, const Array<FaceReach>& reaches,
               Slab<T>& slab)
{
    const FaceRun run = nextRun(reaches, slab);
    uint32 planes = slab.high - slab.nextPlane;
    if (run.count == 1 && run.visits > 2 * visitsPerRound)
        planes =
            std::min(planes, static_cast<uint32>((slab.high - slab.low) * visitsPerRound / run.visits) + 1);
    TX_RUN_KERNEL(lowerToFaces, target, mesh.positions, mesh.faces, slab.faces.data() + slab.nextFace,
                  run.count, slab.nextPlane, slab.nextPlane + planes, slab.scratch.data());
    slab.nextPlane += planes;
    if (slab.nextPlane < slab.high) return;
    slab.nextPlane = slab.low;
    slab.nextFace += run.count;
}

/// Lowers all samples to all faces.
template <class T>
bool lowerAll(const DistanceTarget<T>& target, const MeshFaces& mesh, const Array<FaceReach>& reaches,
              uint32 threadCount, Polling& polling)
{
    double visits = 0;
    for (const FaceReach& reach : reaches) visits += double{reach.visits};
    const uint32 threads = threadsWorth(static_cast<uint64>(std::min(visits, 1e18)),
                                        static_cast<uint64>(visitsPerRound), threadCount);
    std::vector<Slab<T>> slabs = makeSlabs(target, reaches, threads, polling);
    if (polling.isStopped()) return false;
    const LongStep step(polling, target.size[0]);
    return polledFor(polling, slabs.size(), static_cast<uint32>(slabs.size()),
                     [&](uint32, uint64 s, uint64)
                     {
                         while (!slabs[s].isDone())
                         {
                             const uint32 before = slabs[s].nextPlane;
                             lowerSlab(target, mesh, reaches, slabs[s]);
                             if (!polling.goOn(slabs[s].nextPlane - before)) return;
                         }
                     });
}

}  // namespace

template <class T>
bool sampleDistance(const Mesh& mesh, const GridDescription3<double>& grid, T band, uint32 threadCount,
                    Polling& polling, T* samples)
{
    if (!polling.goOn()) return false;
    if (grid.size == 0) return true;
    const MeshFaces faces(mesh);
    const LatticeNodes lattice(grid);
    const T square = band > 0 ? band * band : T(0);
    if (!inPieces(polling, grid.size, lightItems, threadCount,
                  [&](uint32, uint64 begin, uint64 end)
                  { std::fill(samples + begin, samples + end, square); }))
        return false;
    if (band > 0)
    {
        Array<FaceReach> reaches(faces.faceCount);
        if (!inPieces(polling, faces.faceCount, scatteredItems, threadCount,
                      [&](uint32, uint64 begin, uint64 end)
                      {
                          for (uint64 f = begin; f < end; ++f)
                              reaches[f] = reachOf(lattice, faces, static_cast<uint32>(f), double{band});
                      }))
            return false;
        DistanceTarget<T> target{samples, {}, {}, {}, double{band}};
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            target.size[axis] = lattice.size[axis];
            target.nodes[axis] = lattice.nodes[axis].data();
            target.reciprocal[axis] = lattice.reciprocal[axis];
        }
        if (!lowerAll(target, faces, reaches, threadCount, polling)) return false;
    }
    return inPieces(polling, grid.size, lightItems, threadCount,
                    [&](uint32, uint64 begin, uint64 end)
                    { TX_RUN_KERNEL(rootsUpTo, samples + begin, end - begin, band); });
}

template bool sampleDistance(const Mesh&, const GridDescription3<double>&, float, uint32, Polling&, float*);
template bool sampleDistance(const Mesh&, const GridDescription3<double>&, double, uint32, Polling&, double*);

}  // namespace tavrix::detail
