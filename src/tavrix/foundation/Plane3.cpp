#include <tavrix/foundation/Plane3.h>

#include <type_traits>

namespace tavrix
{

constinit const TX_MetaClass metaClass_Plane3F("Plane3F");
constinit const TX_MetaClass metaClass_Plane3D("Plane3D");
constinit const TX_MetaClass metaClass_Plane3F_virtual("Plane3F_virtual", &metaClass_Plane3F);
constinit const TX_MetaClass metaClass_Plane3D_virtual("Plane3D_virtual", &metaClass_Plane3D);

template <class T>
Plane3_virtual<T>::~Plane3_virtual() = default;

template <class T>
const TX_MetaClass& Plane3_virtual<T>::getMetaClass() const
{
    return std::is_same_v<T, float> ? metaClass_Plane3F_virtual : metaClass_Plane3D_virtual;
}

template class Plane3_virtual<float>;
template class Plane3_virtual<double>;

}  // namespace tavrix
