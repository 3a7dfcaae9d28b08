#include <tavrix/implicit/LevelSetAdvection.h>

#include <cmath>

#include <tavrix/fields/detail/Transport.h>

namespace tavrix
{

AdvectionReport advect(LevelSet& surface, const Velocity3& velocity, double begin, double end,
                       const LevelSetAdvectionSettings& settings)
{
    AdvectionReport report;
    if (surface.getArraySize() == 0) return report;
    constexpr double constantTo = 1e-3;  // separations
    const double separation = surface.getField().getPointSeparation();
    const double band = std::fabs(double{surface.getDefaultValue()}) / separation;
    detail::Polling polling(settings.callback);
    detail::Transport transport(surface.refField(), velocity, {begin, end},
                                static_cast<float>(constantTo * separation), settings, polling);
    while (transport.step())
    {
        ++report.steps;
        if (!transport.isAtEnd() && transport.travelled() < settings.redistanceAfter) continue;
        redistanceBand(surface, band, settings.threadCount, settings.callback);
        ++report.redistancings;
        if (!polling.goOn()) break;
        if (!transport.isAtEnd()) transport.restart();
    }
    report.isDone = !polling.isStopped();
    return report;
}

}  // namespace tavrix
