#define TX_SPLAT_VARIANT plain
#include <tavrix/fields/detail/ParticleSplatKernel.h>
