#include <cmath>

#include "Choices.h"
#include "Fuzz.h"

// Sequences of calls on fields: a dense and a tiled one go through the same calls and must hold the same
// samples; surfaces are extracted, cleaned and shaded, and level sets made and redistanced.

using namespace tavrix;
using fuzz::Choices;

namespace
{

template <class Value>
bool sameSample(Value a, Value b)
{
    return a == b || (a != a && b != b);
}

template <class Value, class Coord>
class Sequence
{
public:
    explicit Sequence(Choices& choices) : _choices(choices) {}

    void run()
    {
        while (_choices.areLeft())
        {
            step();
            require();
        }
    }

private:
    using Base = ScalarField3_base<Value, Coord>;
    static constexpr bool isReal = std::is_floating_point_v<Value>;

    Value sample() { return _choices.number<Value>(); }

    template <class Change>
    void both(Change change)
    {
        change(static_cast<Base&>(_dense));
        change(static_cast<Base&>(_tiled));
    }

    void require()
    {
        fuzz::require(_dense.size() == _tiled.size(), "sizes of both storages");
        for (uint32 n = 0; n < _dense.size(); ++n)
            fuzz::require(sameSample(_dense.get(n), _tiled.get(n)), "samples of both storages");
    }

    void step()
    {
        const uint32 what = _choices.below(13);
        if (what == 0) return reset();
        if (what == 1) return place();
        if (what == 2) return both([&, v = sample()](Base& f) { f.set(v); });
        if (what == 3) return both([&, v = sample()](Base& f) { f.add(v); });
        if (what == 4) return both([&, v = sample()](Base& f) { f.multiply(v); });
        if (what == 5) return both([](Base& f) { f.abs(); });
        if (what == 6) return combine();
        if (what == 7) return changeTiles();
        if (what == 8) return evaluate();
        if constexpr (isReal)
        {
            if (what == 9 || what == 10) return setFromParticles();
            if (what == 11) return diffuse();
            if constexpr (std::is_same_v<Coord, double>)
                if (what == 12) return extract();
        }
        if (_dense.size() > 0) changeSample(_choices.below(_dense.size()));
    }

    void place()
    {
        const auto point = _choices.point<Coord>();
        const uint32 how = _choices.below(3);
        if (how == 0) return both([&](Base& f) { f.moveTo(point); });
        if (how == 1) return both([&](Base& f) { f.move(point); });
        both([&](Base& f) { f.alignAbsolute(point.x); });
    }

    void changeSample(uint32 m)
    {
        const Value v = sample();
        const uint32 how = _choices.below(4);
        if (how == 0) return both([&](Base& f) { f.set(m, v); });
        if (how == 1) return both([&](Base& f) { f.add(m, v); });
        if (how == 2) return both([&, n = _dense.getIndexes(m)](Base& f) { f.inc(n.a, n.b, n.c); });
        both([&, p = _choices.point<Coord>()](Base& f) { f.addValueToBoxContainingPoint(p, v); });
    }

    void reset()
    {
        const uint32 x = _choices.below(12), y = _choices.below(12), z = _choices.below(12);
        auto separation = _choices.point<Coord>();
        if (_choices.flag()) separation = {separation.x, separation.x, separation.x};
        _dense.reset(x, y, z, separation);
        _tiled.reset(x, y, z, separation, _choices.below(10));
        both([](Base& f) { f.setZero(); });
    }

    void combine()
    {
        ScalarField3<Value, Coord> other = _dense;
        if (_choices.flag()) other.reset(_choices.below(6), _choices.below(6), _choices.below(6), Coord(1));
        other.set(sample());
        const Base& with = _choices.flag() ? static_cast<const Base&>(other) : _tiled;
        const Value factor = sample();
        const double t = _choices.number<double>();
        const uint32 how = _choices.below(4);
        if (how == 0) return both([&](Base& f) { f.add(with, factor); });
        if (how == 1) return both([&](Base& f) { f.interpolate(other, f, t); });
        if (how == 2) return both([&](Base& f) { f.interpolate(f, other, t); });
        _tiled.copyScalars(other);
        _dense.copyScalars(other);
    }

    void changeTiles()
    {
        if (_tiled.getTileSize() == 0) return;
        const uint32 tile = _choices.below(_tiled.getTileSize());
        _tiled.createTile(tile);
        if (_choices.flag()) _tiled.createNeighborTiles_ifValuesAtBoundaryLarger(sample());
        if (_choices.flag()) _tiled.adjustCoarse_b3b();
    }

    void evaluate()
    {
        const auto point = _choices.point<Coord>();
        const auto inDense = _dense.evalSafe(point), inTiled = _tiled.evalSafe(point);
        fuzz::require(inDense.a == inTiled.a && sameSample(inDense.b, inTiled.b), "values at points");
        Value min, max, avg;
        both(
            [&](Base& f)
            {
                f.findMinMaxAvg(min, max, avg);
                f.doIHave_NaN();
                f.computeSignature_v3();
            });
        if constexpr (isReal)
        {
            _tiled.evalGradSafe(point, TX_FIELD_EVAL_SYMMETRIC);
            _dense.evalCurvature(point, TX_FIELD_EVAL_SYMMETRIC);
            _dense.evalCurvature(point, TX_FIELD_EVAL_ASYMMETRIC);
            _dense.evalGradSafe(point,
                                {TX_FIELD_GRAD_FORWARD, TX_FIELD_GRAD_BACKWARD, TX_FIELD_GRAD_SECOND_ORDER});
            Vector3Field3<Value, Coord> gradient;
            _dense.gradient(gradient, _choices.below(4));
            _tiled.gradient(gradient);
        }
    }

    void setFromParticles()
    {
        const auto positions = _choices.array<Vector3F>(12, [&] { return _choices.point<float>(); });
        const auto radii = _choices.array<float>(12, [&] { return _choices.number<float>(); });
        const auto weights = _choices.array<float>(12, [&] { return _choices.number<float>(); });
        const auto margin = _choices.number<float>(), a = _choices.number<float>(),
                   b = _choices.number<float>();
        const uint32 n = _choices.below(6), which = _choices.below(10);
        const auto call = [&](Base& f)
        {
            if (which == 0) return f.setDistanceField(positions, radii, margin, n);
            if (which == 1) return f.setMetaballField(positions, radii, margin, a, n);
            if (which == 2) return f.setSubtractiveDistanceField(positions, radii, margin, n);
            if (which == 3) return f.setSubtractiveMetaballField(positions, radii, margin, a, n);
            if (which == 4) return f.setWeigthDistanceField(positions, radii, weights, margin, a, b, 2.0, n);
            if (which == 5) return f.setWeigthDistanceField_v2(positions, radii, weights, margin, a, b, n);
            if (which == 6)
                return f.setSubtractiveWeigthDistanceField(positions, radii, weights, margin, a, n);
            if (which == 7)
                return f.setWeigthNormalDistanceField(positions, radii, positions, weights, margin, n);
            return f.setAnisotropyDistanceField(positions, radii, margin, AnisotropySettings{}, n);
        };
        both([&](Base& f) { fuzz::require(call(f), "particles end without a callback"); });
    }

    void diffuse()
    {
        const auto a = _choices.number<Value>(), b = _choices.number<Value>(), c = _choices.number<Value>();
        const auto min = _choices.number<Value>(), max = _choices.number<Value>();
        const uint32 threads = _choices.below(5);
        const auto mode = static_cast<typename Base::DiffuseDissipateSolverMode>(_choices.below(3));
        _dense.diffuse_dissipate(a, b, c, threads, mode, min, max);
        _tiled.diffuse_dissipate(a, b, c, threads, mode, min, max);
        if (mode == Base::TX_FIELD_DIFFUSE_IMPLICIT) _tiled.copyScalars(_dense);
    }

    void extract()
    {
        Mesh mesh;
        const auto threshold = _choices.number<Value>();
        const uint32 threads = _choices.below(5);
        if (_choices.flag())
        {
            const Box3D box{_choices.point<double>(), _choices.point<double>()};
            IsosurfaceExtractor3::extractMesh(_dense, mesh, threshold, box, threads, nullptr,
                                              _choices.flag());
        }
        else
        {
            uint32 margins[6];
            for (uint32& margin : margins) margin = _choices.below(4);
            IsosurfaceExtractor3::extractMesh(_dense, mesh, threshold, margins[0], margins[1], margins[2],
                                              margins[3], margins[4], margins[5], threads, nullptr,
                                              _choices.flag());
        }
        requireValid(mesh);
        _tiled.computeFieldNormals(mesh, threads);
        IsosurfaceExtractor3::tension(mesh, _choices.number<float>(), _choices.number<float>(),
                                      _choices.below(4));
        IsosurfaceExtractor3::mcaClean(mesh, _choices.number<double>());
        requireValid(mesh);
        mesh.recalculateNormalsParallelized(threads);
        requireValid(mesh);
        levelSet();
    }

    void levelSet()
    {
        ImplicitSurface3Regular<Value> surface;
        surface.refField() = _dense;
        surface.getDefaultValue() = _choices.number<Value>();
        surface.createNeighborsCells();
        const auto tolerance = static_cast<Value>(0.01);
        if (_choices.flag())
            surface.redistance(surface.getDefaultValue(), tolerance, _choices.below(4));
        else
            surface.fastSweeping(surface.getDefaultValue(), tolerance, _choices.below(4));
        surface.offsetSurface(_choices.number<Value>());
        if (_choices.flag()) surface.invert();
        if (_choices.flag()) surface.abs();
        ImplicitSurface3Sparse<Value> sparse;
        sparse.init(surface);
        Mesh mesh, ofSparse;
        surface.extractExplicitSurface(mesh);
        sparse.extractExplicitSurface(ofSparse);
        requireValid(mesh);
        requireValid(ofSparse);
    }

    static void requireValid(const Mesh& mesh) { fuzz::require(hasValidIndices(mesh), "indices of a mesh"); }

    Choices& _choices;
    ScalarField3<Value, Coord> _dense;
    ScalarField3_SG<Value, Coord> _tiled;
};

}  // namespace

int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    Choices choices(data, size);
    const uint32 kind = choices.below(5);
    if (kind == 0) Sequence<double, double>(choices).run();
    if (kind == 1) Sequence<uint8, float>(choices).run();
    if (kind == 2) Sequence<int32, double>(choices).run();
    if (kind == 3) Sequence<float, float>(choices).run();
    if (kind == 4) Sequence<float, double>(choices).run();
    return 0;
}
