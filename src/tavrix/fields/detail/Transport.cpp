#include <tavrix/fields/detail/Transport.h>

#include <algorithm>
#include <cmath>

#include <tavrix/fields/detail/AdvectionKernel.h>

namespace tavrix::detail
{

namespace
{

/// Steps between looks at where the field varies.
constexpr uint32 stepsPerLook = 1;
/// How many nodes samples may move until then.
constexpr uint32 motion = stepsPerLook;

constexpr uint64 runsPerPiece = 512;

}  // namespace

Transport::Transport(ScalarField3<float, double>& field, const Velocity3& velocity, const TimeSpan& span,
                     float tolerance, const AdvectionSettings& settings, Polling& polling)
    : _field(field),
      _grid(field.getGrid()),
      _velocity(velocity),
      _span(span),
      _settings(settings),
      _polling(polling),
      _nodes(_grid, motion, tolerance, settings.threadCount),
      _rows(std::max(settings.threadCount, 1u)),
      _time(span.begin)
{
    restart();
}

void Transport::restart()
{
    _first = _field.getArrScalars();
    _second = _field.getArrScalars();
    _nodes.find(_first.data(), _polling);
    _stepsToFollow = stepsPerLook;
    _travelled = 0;
    measure();
}

bool Transport::step()
{
    if (isAtEnd() || _polling.isStopped()) return false;
    if (_stepsToFollow == 0) follow();
    if (_nodes.runs().empty())
    {
        _time = _span.end;
        return false;
    }
    constexpr double fewestSteps = 16, tooFast = 1.1;
    const double left = std::fabs(_span.end - _time);
    double step = std::min(left, std::fabs(_span.end - _span.begin) / fewestSteps);
    // what moves fastest may come to be faster: the step is tried anew then
    do {
        if (_fastest * step > _settings.courant) step = _settings.courant / _fastest;
        if (!makeStages(step)) return false;
    } while (_fastest * step > tooFast * _settings.courant);
    const auto direction = _span.end > _span.begin ? 1 : -1;
    run({_second.data(), _field.refArrScalars().data(), _time + direction * step / 2, step, 1.0f / 3});
    _travelled += _fastest * step;
    _time = step < left ? _time + direction * step : _span.end;
    --_stepsToFollow;
    _field.refFlags() |= ScalarField3<float, double>::flagChanged;
    return !_polling.isStopped();
}

/// Brings the other samples up to date where they were worked on, and looks where to work on.
void Transport::follow()
{
    const float* samples = _field.getArrScalars().data();
    const std::vector<NodeRun>& runs = _nodes.runs();
    inPieces(_polling, runs.size(), runsPerPiece, _settings.threadCount,
             [&](uint32, uint64 begin, uint64 end)
             {
                 for (uint64 n = begin; n < end; ++n)
                 {
                     const uint32 m = _grid.getMonoindex(runs[n].i, runs[n].j, runs[n].k);
                     std::copy_n(samples + m, runs[n].count, _first.data() + m);
                     std::copy_n(samples + m, runs[n].count, _second.data() + m);
                 }
             });
    _nodes.follow(samples, _polling);
    _stepsToFollow = stepsPerLook;
}

/// The first two stages, which leave the field as it is. Notes what moved fastest.
bool Transport::makeStages(double step)
{
    const auto direction = _span.end > _span.begin ? 1 : -1;
    const float* samples = _field.getArrScalars().data();
    _fastest = run({samples, _first.data(), _time, step, 0});
    if (_fastest * step <= 1.1 * _settings.courant)
        _fastest =
            std::max(_fastest, run({_first.data(), _second.data(), _time + direction * step, step, 0.75f}));
    return !_polling.isStopped();
}

/// Finds what moves fastest now.
void Transport::measure()
{
    _fastest = 0;
    const std::vector<NodeRun>& runs = _nodes.runs();
    std::vector<double> fastest(_rows.size());
    inPieces(_polling, runs.size(), runsPerPiece, _settings.threadCount,
             [&](uint32 worker, uint64 begin, uint64 end)
             {
                 for (uint64 n = begin; n < end; ++n)
                     fastest[worker] = std::max(fastest[worker], fastestIn(runs[n], _time, _rows[worker]));
             });
    _fastest = *std::max_element(fastest.begin(), fastest.end());
}

/// Makes a stage at all nodes. Returns what moved fastest.
double Transport::run(const Stage& stage)
{
    const std::vector<NodeRun>& runs = _nodes.runs();
    std::vector<double> fastest(_rows.size());
    inPieces(_polling, runs.size(), runsPerPiece, _settings.threadCount,
             [&](uint32 worker, uint64 begin, uint64 end)
             {
                 Rows& rows = _rows[worker];
                 for (uint64 n = begin; n < end; ++n)
                 {
                     fastest[worker] = std::max(fastest[worker], fastestIn(runs[n], stage.time, rows));
                     advance(runs[n], stage, rows);
                 }
             });
    return *std::max_element(fastest.begin(), fastest.end());
}

/// Fills in the speeds of a run, in separations a unit of time, in the direction of time in which the span
/// goes; returns the largest sum of a node's.
double Transport::fastestIn(const NodeRun& nodes, double time, Rows& rows) const
{
    const double direction = _span.end > _span.begin ? 1 : -1;
    const Vector3D scale = _grid.reciprocalSeparation * direction;
    for (std::vector<float>& speeds : rows.speeds) speeds.assign(nodes.count, 0.0f);
    double fastest = 0;
    Vector3D point = _grid.getPoint(nodes.i, nodes.j, nodes.k);
    for (uint32 n = 0; n < nodes.count; ++n)
    {
        if (!nodes.isWorkedOn(n)) continue;
        point.z = _grid.getCoordinate(2, nodes.k + n);
        const Vector3D v = _velocity(point, time);
        const Vector3D speed{v.x * scale.x, v.y * scale.y, v.z * scale.z};
        for (uint32 axis = 0; axis < 3; ++axis) rows.speeds[axis][n] = static_cast<float>(speed[axis]);
        fastest = std::max(fastest, std::fabs(speed.x) + std::fabs(speed.y) + std::fabs(speed.z));
    }
    return fastest;
}

/// The samples of a run, with as many on either side as derivatives look at; beyond the grid those of its
/// border.
const float* Transport::paddedRow(const NodeRun& nodes, const float* samples, Rows& rows) const
{
    const float* row = samples + _grid.getMonoindex(nodes.i, nodes.j, 0);
    if (nodes.k >= advectionReach && nodes.k + nodes.count + advectionReach <= _grid.sizeZ)
        return row + nodes.k;
    rows.padded.resize(nodes.count + 2 * advectionReach);
    for (uint32 n = 0; n < rows.padded.size(); ++n)
        rows.padded[n] =
            row[std::min(std::max(nodes.k + n, advectionReach) - advectionReach, _grid.sizeZ - 1)];
    return rows.padded.data() + advectionReach;
}

void Transport::advance(const NodeRun& nodes, const Stage& stage, Rows& rows) const
{
    const uint32 m = _grid.getMonoindex(nodes.i, nodes.j, nodes.k);
    AdvectionRun run{.count = nodes.count,
                     .start = _field.getArrScalars().data() + m,
                     .z = paddedRow(nodes, stage.from, rows),
                     .x = {},
                     .y = {},
                     .speedX = rows.speeds[0].data(),
                     .speedY = rows.speeds[1].data(),
                     .speedZ = rows.speeds[2].data()};
    for (uint32 n = 0; n < 2 * advectionReach; ++n)
    {
        const uint32 offset = n < advectionReach ? n : n + 1;  // from 3 before the node on
        const auto neighbour = [offset](uint32 index, uint32 size)
        { return std::min(std::max(index + offset, advectionReach) - advectionReach, size - 1); };
        run.x[n] = stage.from + _grid.getMonoindex(neighbour(nodes.i, _grid.sizeX), nodes.j, nodes.k);
        run.y[n] = stage.from + _grid.getMonoindex(nodes.i, neighbour(nodes.j, _grid.sizeY), nodes.k);
    }
    rows.out.resize(nodes.count);
    TX_RUN_KERNEL(advectRun, run, stage.keep, static_cast<float>(stage.step), rows.out.data());
    std::copy(rows.out.begin(), rows.out.end(), stage.to + m);
}

}  // namespace tavrix::detail
