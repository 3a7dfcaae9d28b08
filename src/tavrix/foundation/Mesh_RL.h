#pragma once

#include <tavrix/foundation/RenderLayer.h>

namespace tavrix
{

class Mesh;

/// How a mesh is to be shaded; what it holds is the host's business.
class TX_GEOMETRY_API Mesh_RL_Shader
{
public:
    virtual ~Mesh_RL_Shader();
};

/// Draws one mesh.
class TX_GEOMETRY_API Mesh_RL : public Service_RL
{
public:
    /// Draws the mesh as it is now, in a colour of the host's choice or in the given one.
    /// @{
    virtual void render(const Mesh& mesh) = 0;
    virtual void render(const Mesh& mesh, const Color4F& color) = 0;
    /// @}
    /// How the mesh is shaded. Who owns the shader is the host's business; the dummy does not.
    /// @{
    virtual Mesh_RL_Shader* getShader() const = 0;
    virtual void setShader(Mesh_RL_Shader* shader) = 0;
    /// @}
};

/// Makes the render object of a mesh; the mesh owns it. This base makes dummies.
class TX_GEOMETRY_API Mesh_RL_factory
{
public:
    virtual ~Mesh_RL_factory();
    /// A new object, which the caller owns and deletes.
    virtual Mesh_RL* create();
};

/// Draws nothing; remembers its shader.
class TX_GEOMETRY_API Mesh_RL_Dummy : public Mesh_RL
{
public:
    void render(const Mesh&) override {}
    void render(const Mesh&, const Color4F&) override {}
    Mesh_RL_Shader* getShader() const override { return _shader; }
    void setShader(Mesh_RL_Shader* shader) override { _shader = shader; }

private:
    Mesh_RL_Shader* _shader = nullptr;
};

TX_GEOMETRY_INSTANCE(FactoryOwnerT<Mesh_RL_factory>);

}  // namespace tavrix
