#pragma once

#include <tavrix/foundation/RenderLayer.h>
#include <tavrix/platform/Types.h>

namespace tavrix
{

/// Draws one scalar field. The field hands over its sizes and a colour; how the object reaches the samples is
/// the host's business. The field's changed bit tells when to fetch them anew.
class TX_GEOMETRY_API ScalarField3_RL : public Service_RL
{
public:
    /// Given the numbers of nodes along the axes by ScalarField3_base::initializeRenderContext.
    virtual void initialize(uint32 sizeX, uint32 sizeY, uint32 sizeZ) = 0;
    /// Draws the field, in a colour of the host's choice or in the given one.
    /// @{
    virtual void render() = 0;
    virtual void render(const Color4F& color) = 0;
    /// @}
};

/// Makes the render object of a scalar field; the field owns it. This base makes dummies.
class TX_GEOMETRY_API ScalarField3_RL_factory
{
public:
    virtual ~ScalarField3_RL_factory();
    /// A new object, which the caller owns and deletes.
    virtual ScalarField3_RL* create();
};

/// Draws nothing.
class TX_GEOMETRY_API ScalarField3_RL_Dummy : public ScalarField3_RL
{
public:
    void initialize(uint32, uint32, uint32) override {}
    void render() override {}
    void render(const Color4F&) override {}
};

TX_GEOMETRY_INSTANCE(FactoryOwnerT<ScalarField3_RL_factory>);

}  // namespace tavrix
