#define TX_SPLAT_VARIANT avx2
#include <tavrix/fields/detail/ParticleSplatKernel.h>
