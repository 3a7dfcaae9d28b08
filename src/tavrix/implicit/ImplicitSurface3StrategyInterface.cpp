#include <tavrix/implicit/ImplicitSurface3StrategyInterface.h>

namespace tavrix
{

namespace
{

template <class T>
bool answer(const Tuple2<bool, T>& found, T& out)
{
    out = found.b;
    return found.a;
}

}  // namespace

template <class T>
ImplicitSurface3StrategyInterface<T>::~ImplicitSurface3StrategyInterface() = default;

template <class T>
void ImplicitSurface3StrategyInterface<T>::gradient(Vector3Field3<T, double>& out, uint32 threadCount) const
{
    getField().gradient(out, threadCount);
}

template <class T>
bool ImplicitSurface3StrategyInterface<T>::eval(const Vector3D& point, T& out) const
{
    return answer(getField().evalSafe(point, TX_FIELD_EVAL_ASYMMETRIC), out);
}

template <class T>
bool ImplicitSurface3StrategyInterface<T>::eval_useThreshold(const Vector3D& point, T& out) const
{
    return answer(getField().evalSafe_useGreaterThanThreshold(point, _cutOffValue, TX_FIELD_EVAL_ASYMMETRIC),
                  out);
}

template <class T>
bool ImplicitSurface3StrategyInterface<T>::evalGrad(const Vector3D& point, Vector3<T>& out) const
{
    return answer(getField().evalGradSafe(point, TX_FIELD_EVAL_ASYMMETRIC), out);
}

template <class T>
bool ImplicitSurface3StrategyInterface<T>::evalGrad_v2(const Vector3D& point, Vector3<T>& out) const
{
    return answer(getField().evalGradSafe(point, TX_FIELD_EVAL_SYMMETRIC), out);
}

template <class T>
bool ImplicitSurface3StrategyInterface<T>::evalGradSafe_v2(const Vector3D& point, const GradTypes& types,
                                                           Vector3<T>& out) const
{
    return answer(getField().evalGradSafe(point, types), out);
}

template <class T>
bool ImplicitSurface3StrategyInterface<T>::evalGradSafe_useThreshold(const Vector3D& point,
                                                                     const GradTypes& types,
                                                                     Vector3<T>& out) const
{
    return answer(getField().evalGradSafe_useThreshold(point, types, _cutOffValue), out);
}

template <class T>
bool ImplicitSurface3StrategyInterface<T>::evalCurvature(const Vector3D& point, T& out) const
{
    return answer(getField().evalCurvature(point, TX_FIELD_EVAL_ASYMMETRIC), out);
}

template <class T>
bool ImplicitSurface3StrategyInterface<T>::evalCurvatureSafe(const Vector3D& point, T& out) const
{
    return answer(getField().evalCurvature(point, TX_FIELD_EVAL_SYMMETRIC), out);
}

template class ImplicitSurface3StrategyInterface<float>;
template class ImplicitSurface3StrategyInterface<double>;

}  // namespace tavrix
