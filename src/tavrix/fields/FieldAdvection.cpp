#include <tavrix/fields/FieldAdvection.h>

#include <tavrix/fields/detail/Transport.h>

namespace tavrix
{

Velocity3 steadyVelocity(const Vector3Field3<float, double>& field)
{
    return [&field](const Vector3D& point, double) { return convert<double>(field.evalSafe(point).b); };
}

AdvectionReport advect(ScalarField3<float, double>& field, const Velocity3& velocity, double begin,
                       double end, const AdvectionSettings& settings)
{
    AdvectionReport report;
    if (field.size() == 0) return report;
    float low, high;
    field.findMinMax(low, high);
    detail::Polling polling(settings.callback);
    detail::Transport transport(field, velocity, {begin, end}, (high - low) * 1e-6f, settings, polling);
    while (transport.step()) ++report.steps;
    report.isDone = !polling.isStopped();
    return report;
}

}  // namespace tavrix
