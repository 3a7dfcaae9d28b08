#pragma once

#include <tavrix/fields/AdvectionSettings.h>
#include <tavrix/fields/detail/VaryingNodes.h>
#include <tavrix/fields/ScalarField3.h>

namespace tavrix::detail
{

/// From one time to another.
struct TimeSpan
{
    double begin, end;
};

/// The steps of an advection, of which the field has the state between them.
class Transport
{
public:
    /// Differences of neighbouring samples up to the tolerance count as none.
    Transport(ScalarField3<float, double>& field, const Velocity3& velocity, const TimeSpan& span,
              float tolerance, const AdvectionSettings& settings, Polling& polling);

    /// Makes a step; false at the end of the span, where it does nothing, and when it was stopped.
    bool step();
    /// How far the fastest node has gone, in separations, all axes summed up; counted from the last restart.
    double travelled() const { return _travelled; }
    bool isAtEnd() const { return _time == _span.end; }
    /// Takes up what others made of the samples.
    void restart();

private:
    /// What a worker needs for a run.
    struct Rows
    {
        std::vector<float> speeds[3], padded, out;
    };
    struct Stage
    {
        const float* from;
        float* to;
        double time, step;  ///< the step is a time above 0
        float keep;         ///< of the samples at the beginning of the step
    };

    void follow();
    bool makeStages(double step);
    void measure();
    double run(const Stage& stage);
    double fastestIn(const NodeRun& nodes, double time, Rows& rows) const;
    void advance(const NodeRun& nodes, const Stage& stage, Rows& rows) const;
    const float* paddedRow(const NodeRun& nodes, const float* samples, Rows& rows) const;

    ScalarField3<float, double>& _field;
    const GridDescription3<double> _grid;
    const Velocity3& _velocity;
    const TimeSpan _span;
    const AdvectionSettings& _settings;
    Polling& _polling;
    VaryingNodes _nodes;
    Array<float> _first, _second;  ///< after the first and the second stage; elsewhere the field's samples
    std::vector<Rows> _rows;       ///< one a worker
    double _time;
    double _fastest = 0;  ///< separations in a unit of time
    double _travelled = 0;
    uint32 _stepsToFollow = 0;
};

}  // namespace tavrix::detail
