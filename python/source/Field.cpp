#include <cmath>
#include <limits>

#include <pybind11/stl.h>

#include <tavrix/fields/GridFit.h>
#include <tavrix/fields/Vector3Field3.h>
#include <tavrix/reconstruction/ReconstructionSettings.h>

#include "Choice.h"
#include "Extraction.h"
#include "FieldObject.h"
#include "Memory.h"

namespace tavrix::python
{

namespace
{

using Threads = std::optional<py::ssize_t>;
using FloatField = ScalarField3<float, double>;
using DoubleField = ScalarField3<double, double>;

/// A scalar field as Python has it, of float32 or float64 samples. Its grid never changes.
struct FieldObject
{
    std::unique_ptr<FloatField> singles;
    std::unique_ptr<DoubleField> doubles;  ///< instead of these

    /// use(the field that there is)
    template <class Use>
    auto visit(const Use& use) const
    {
        return singles ? use(*singles) : use(*doubles);
    }
    const GridDescription3<double>& grid() const { return singles ? singles->getGrid() : doubles->getGrid(); }
    static void put(std::unique_ptr<FieldObject>& object, std::unique_ptr<FloatField> field)
    {
        object->singles = std::move(field);
    }
    static void put(std::unique_ptr<FieldObject>& object, std::unique_ptr<DoubleField> field)
    {
        object->doubles = std::move(field);
    }
};

template <class Value>
std::unique_ptr<FieldObject> fieldObjectOf(std::unique_ptr<ScalarField3<Value, double>> field)
{
    auto object = std::make_unique<FieldObject>();
    FieldObject::put(object, std::move(field));
    return object;
}

/// Whether samples of the type are kept as float64: all that float32 does not hold exactly.
bool isDouble(const py::dtype& type)
{
    return type.kind() == 'f' ? type.itemsize() > 4 : type.kind() != 'b' && type.itemsize() > 2;
}

template <class Value>
std::unique_ptr<FieldObject> fieldOf(const py::array& samples, const GridDescription3<double>& grid)
{
    const auto block = contiguous<Value>(samples);
    auto field = std::make_unique<ScalarField3<Value, double>>();
    Array<Value> copy(std::span<const Value>(block.data(), grid.size));
    field->adopt(grid, std::move(copy));
    return fieldObjectOf(std::move(field));
}

std::unique_ptr<FieldObject> makeField(py::handle object, py::handle spacing, py::handle origin)
{
    const py::array samples = numbersIn(object, "samples");
    const auto grid = gridOf(samples, spacing, origin);
    return isDouble(samples.dtype()) ? fieldOf<double>(samples, grid) : fieldOf<float>(samples, grid);
}

/// A field over samples of the host's, without a copy, while the object lives.
template <class Value>
class BorrowedField
{
public:
    BorrowedField(const py::array& samples, const GridDescription3<double>& grid)
        : _block(contiguous<Value>(samples)),
          _field(emptied(grid)),
          _loan(_field->refArrScalars(), {_block.data(), grid.size})
    {
    }
    const ScalarField3<Value, double>& field() const { return *_field; }

private:
    /// A field of the grid that holds no samples yet.
    static std::unique_ptr<ScalarField3<Value, double>> emptied(const GridDescription3<double>& grid)
    {
        auto field = std::make_unique<ScalarField3<Value, double>>();
        field->adopt(grid, Array<Value>(grid.size));
        return field;
    }

    Contiguous<Value> _block;
    std::unique_ptr<ScalarField3<Value, double>> _field;
    ArrayLoan<Value> _loan;
};

py::object marchingCubes(py::handle object, double level, py::handle spacing, py::handle origin,
                         const std::string& inside, bool clean, bool normals, const Threads& threads,
                         const py::object& progress)
{
    const py::array samples = numbersIn(object, "samples");
    const auto grid = gridOf(samples, spacing, origin);
    const ExtractionOptions options{level, inside, clean, normals, threads, progress};
    if (isDouble(samples.dtype())) return extracted(BorrowedField<double>(samples, grid).field(), options);
    return extracted(BorrowedField<float>(samples, grid).field(), options);
}

/// The sizes of a grid from one corner to at least the other.
py::tuple shapeBetween(const Vector3D& low, const Vector3D& high, const Vector3D& spacing)
{
    py::tuple shape(3);
    double nodes = 1;
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        positive(spacing[axis], "spacing");
        const double size = std::ceil((high[axis] - low[axis]) / spacing[axis] - 1e-9) + 1;
        nodes *= size;
        if (!(nodes <= 0xFFFFFFFF))
            throw py::value_error("spacing: the grid would have more than 2^32 - 1 nodes");
        shape[axis] = static_cast<py::ssize_t>(size);
    }
    confirmMemory(nodes * 2 * sizeof(double));
    return shape;
}

std::unique_ptr<FieldObject> fromFunction(const py::object& function, py::handle low, py::handle high,
                                          py::handle spacing)
{
    const Box3D box = boxOf(low, high);
    const Vector3D separation = threeNumbers(spacing, "spacing");
    const py::tuple shape = shapeBetween(box.min, box.max, separation);
    const py::module_ numpy = py::module_::import("numpy");
    py::object coordinates[3];
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        py::list lengths;
        for (uint32 other = 0; other < 3; ++other)
            lengths.append(other == axis ? py::object(shape[axis]) : py::int_(1));
        coordinates[axis] =
            (numpy.attr("arange")(shape[axis]) * py::float_(separation[axis]) + py::float_(box.min[axis]))
                .attr("reshape")(lengths);
    }
    const py::object values = function(coordinates[0], coordinates[1], coordinates[2]);
    return makeField(numpy.attr("broadcast_to")(numbersIn(values, "function"), shape), spacing, low);
}

/// A grid over particles and what they reach; between the corners when there are some.
void fitGridTo(FloatField& field, const Array<Vector3F>& positions, double reach, double spacing,
               py::handle low, py::handle high)
{
    Box3D box = Box3D::empty();
    for (const Vector3F& p : positions)
        if (isFinite(p)) box.extend(Vector3D{p.x, p.y, p.z});
    if (low.is_none() != high.is_none()) throw py::value_error("low, high: give both or none");
    if (!low.is_none())
    {
        box = boxOf(low, high);
        reach = 0;
    }
    if (!(box.min.x <= box.max.x)) throw py::value_error("positions: none is finite; give low and high");
    const GridFit fit = fitGrid(box, reach, spacing);
    if (!fit.isIndexable()) throw py::value_error("spacing: the grid would have more than 2^32 - 1 nodes");
    confirmMemory(fit.nodeCount() * 2 * sizeof(float));
    const Index3 size = fit.size();
    field.reset(size.a, size.b, size.c, spacing);
    field.moveTo(fit.center);
}

std::unique_ptr<FieldObject> fromParticles(const py::object& positions, const py::object& radius,
                                           double spacing, const std::string& kind, double influence,
                                           py::handle low, py::handle high, const Threads& threads,
                                           const py::object& progress)
{
    const ArrayIn<Vector3F> in(positions, "positions");
    const auto kernel = choice<SurfaceKernel>(kind, "field",
                                              {{"metaball", SurfaceKernel::Metaball},
                                               {"anisotropic", SurfaceKernel::Anisotropic},
                                               {"distance", SurfaceKernel::Distance}});
    if (!(influence >= 0 && influence <= 100)) throw py::value_error("influence: expected 0 to 100");
    const py::array given = numbersIn(radius, "radius");
    Array<float> radii;
    if (given.ndim() == 0)
        radii.assign(in.size(), static_cast<float>(positive(contiguous<double>(given).data()[0], "radius")));
    else
        radii = ArrayIn<float>(given, "radius").array();
    if (radii.size() != in.size())
        throw py::value_error("radius: expected one number, or one for each particle");
    float largest = 0;
    for (const float r : radii)
        if (std::isfinite(r)) largest = std::max(largest, r);
    const float reach = kernel == SurfaceKernel::Metaball
                            ? largest * (static_cast<float>(influence) * 0.038f + 1.2f)
                            : 2 * largest;
    const uint32 count = threadsOf(threads);
    auto field = std::make_unique<FloatField>();
    fitGridTo(*field, in.array(), reach, positive(spacing, "spacing"), low, high);
    longStage(progress, "field",
              [&](CancelCallback callback)
              {
                  if (kernel == SurfaceKernel::Metaball)
                      field->setMetaballField(in.array(), radii, reach, static_cast<float>(influence), count,
                                              callback);
                  else if (kernel == SurfaceKernel::Distance)
                      field->setDistanceField(in.array(), radii, reach, count, callback);
                  else
                      field->setAnisotropyDistanceField(in.array(), radii, reach, AnisotropySettings{}, count,
                                                        callback);
              });
    return fieldObjectOf(std::move(field));
}

py::array fieldSamples(const py::object& self)
{
    return self.cast<FieldObject&>().visit([&](const auto& field) { return samplesView(field, self, true); });
}

py::array gradientsOf(const FieldObject& self, const Threads& threads)
{
    const uint32 count = threadsOf(threads);
    return self.visit(
        [&]<class Value>(const ScalarField3<Value, double>& field)
        {
            Vector3Field3<Value, double> gradients;
            longStage(py::none(), "gradients",
                      [&](CancelCallback callback) { field.gradient(gradients, count, callback); });
            const auto shape = std::vector<py::ssize_t>{field.sizeX(), field.sizeY(), field.sizeZ(), 3};
            return py::array(givenAway(std::move(gradients.refArrVectors())).reshape(shape));
        });
}

std::unique_ptr<FieldObject> diffused(const FieldObject& self, double amount, double dissipation,
                                      const std::string& mode, double low, double high,
                                      const Threads& threads, const py::object& progress)
{
    if (!(amount >= 0) || !std::isfinite(amount))
        throw py::value_error("amount: expected a finite number of 0 and more");
    if (!(low <= high)) throw py::value_error("high: expected no less than low");
    const uint32 count = threadsOf(threads);
    return self.visit(
        [&]<class Value>(const ScalarField3<Value, double>& field)
        {
            using Field = ScalarField3<Value, double>;
            const auto solver = choice<typename Field::DiffuseDissipateSolverMode>(
                mode, "mode",
                {{"explicit", Field::TX_FIELD_DIFFUSE_EXPLICIT},
                 {"implicit", Field::TX_FIELD_DIFFUSE_IMPLICIT}});
            auto copy = std::make_unique<Field>();
            longStage(progress, "diffuse",
                      [&](CancelCallback callback)
                      {
                          *copy = field;
                          const auto perNode = static_cast<Value>(amount / static_cast<double>(field.size()));
                          copy->diffuse_dissipate(1, perNode, static_cast<Value>(dissipation), count, solver,
                                                  static_cast<Value>(low), static_cast<Value>(high),
                                                  callback);
                      });
            return fieldObjectOf(std::move(copy));
        });
}

py::object copyOfField(const py::object& self)
{
    return py::type::of(self)(fieldSamples(self), self.attr("spacing"), self.attr("origin"));
}

void bindQueries(py::class_<FieldObject>& type)
{
    type.def(
            "evaluate",
            [](const FieldObject& self, const py::object& points, double outside, const Threads& threads) {
                return self.visit([&](const auto& field)
                                  { return valuesAt(field, points, outside, threads); });
            },
            py::arg("points"), py::kw_only(), py::arg("outside") = std::numeric_limits<double>::quiet_NaN(),
            py::arg("threads") = py::none(),
            R"(The values at points of shape (n, 3), by trilinear interpolation: shape (n,), of the field's dtype.

    outside: what points outside the grid get.

    >>> field = tavrix.Field.from_function(lambda x, y, z: x + 10 * y, (0, 0, 0), (4, 4, 4), 1)
    >>> field.evaluate([[0.5, 2, 1], [9, 9, 9]]).tolist()
    [20.5, nan]
    )")
        .def(
            "gradient",
            [](const FieldObject& self, const py::object& points, const Threads& threads)
            { return self.visit([&](const auto& field) { return gradientsAt(field, points, threads); }); },
            py::arg("points"), py::kw_only(), py::arg("threads") = py::none(),
            R"(The gradients at points of shape (n, 3): shape (n, 3); not numbers outside the grid.

    >>> field = tavrix.Field.from_function(lambda x, y, z: x + 10 * y, (0, 0, 0), (4, 4, 4), 1)
    >>> field.gradient([[0.5, 2, 1]]).tolist()
    [[1.0, 10.0, 0.0]]
    )")
        .def("gradients", &gradientsOf, py::kw_only(), py::arg("threads") = py::none(),
             R"(The gradients at all nodes, by central differences: shape (nx, ny, nz, 3).

    >>> tavrix.Field(numpy.zeros((2, 3, 4))).gradients().shape
    (2, 3, 4, 3)
    )")
        .def("diffuse", &diffused, py::arg("amount"), py::kw_only(), py::arg("dissipation") = 0.0,
             py::arg("mode") = "implicit", py::arg("low") = -std::numeric_limits<double>::infinity(),
             py::arg("high") = std::numeric_limits<double>::infinity(), py::arg("threads") = py::none(),
             py::arg("progress") = py::none(),
             R"(The field blurred and faded.

    amount: of diffusion, in node spacings squared; mode 'explicit' makes one step, stable up to 1/6, and 'implicit'
    twenty Gauss-Seidel passes of any amount. dissipation: the part that fades. low, high: what values are clamped to.

    >>> field = tavrix.Field(numpy.eye(3).reshape(3, 3, 1))
    >>> bool(field.diffuse(0.1).samples.max() < 1)
    True
    )")
        .def(
            "extract",
            [](const FieldObject& self, double level, const std::string& inside, bool clean, bool normals,
               const Threads& threads, const py::object& progress)
            {
                const ExtractionOptions options{level, inside, clean, normals, threads, progress};
                return self.visit([&](const auto& field) { return extracted(field, options); });
            },
            py::arg("level") = 0.0, py::kw_only(), py::arg("inside") = "above", py::arg("clean") = true,
            py::arg("normals") = false, py::arg("threads") = py::none(), py::arg("progress") = py::none(),
            R"(The surface where the field crosses the level; see marching_cubes.

    >>> ball = tavrix.Field.from_function(lambda x, y, z: x*x + y*y + z*z, (-2, -2, -2), (2, 2, 2), 0.1)
    >>> round(ball.extract(1, inside="below").volume, 2)
    4.16
    )");
}

}  // namespace

void bindField(py::module_& module)
{
    py::class_<FieldObject> type(module, "Field", R"(A scalar field on the nodes of a regular grid.

    samples: shape (nx, ny, nz), node (i, j, k) at origin + (i, j, k) * spacing; copied, float64 where float32 does
    not hold the dtype, else float32. spacing: above 0, one number or one for each axis. origin: the first node.

    numpy.asarray(field) is a writeable view of the samples. Raises ValueError for what makes no grid.

    >>> field = tavrix.Field(numpy.zeros((2, 3, 4)), spacing=0.5)
    >>> field.bounds.tolist()
    [[0.0, 0.0, 0.0], [0.5, 1.0, 1.5]]
    )");
    type.def(py::init(&makeField), py::arg("samples"), py::arg("spacing") = 1.0,
             py::arg("origin") = py::make_tuple(0, 0, 0))
        .def_static(
            "from_function", &fromFunction, py::arg("function"), py::arg("low"), py::arg("high"),
            py::arg("spacing"),
            R"(A field between two corners of what function(x, y, z) returns for arrays that broadcast.

    >>> tavrix.Field.from_function(lambda x, y, z: x + y + z, (0, 0, 0), (1, 1, 1), 0.5).shape
    (3, 3, 3)
    )")
        .def_static("from_particles", &fromParticles, py::arg("positions"), py::arg("radius"),
                    py::arg("spacing"), py::kw_only(), py::arg("field") = "metaball",
                    py::arg("influence") = 60.0, py::arg("low") = py::none(), py::arg("high") = py::none(),
                    py::arg("threads") = py::none(), py::arg("progress") = py::none(),
                    R"(A field of what particles add: 'metaball', 'anisotropic' or 'distance', float32.

    positions: shape (n, 3). radius: one number, or shape (n,). spacing: of the nodes, which lie on its whole
    multiples. low, high: what the grid spans; all that particles reach when None.

    >>> field = tavrix.Field.from_particles([[0, 0, 0]], 1, 0.25, field="distance")
    >>> round(float(field.samples.max()), 3)
    1.0
    )")
        .def_property_readonly("samples", &fieldSamples,
                               R"(The samples: a writeable view of shape (nx, ny, nz).

    >>> field = tavrix.Field(numpy.zeros((2, 2, 2)))
    >>> field.samples[0, 0, 0] = 5
    >>> field.evaluate([[0, 0, 0]]).tolist()
    [5.0]
    )")
        .def(
            "__array__",
            [](const py::object& self, const py::object& dtype)
            {
                const py::array samples = fieldSamples(self);
                return dtype.is_none() ? py::object(samples)
                                       : samples.attr("astype")(dtype, py::arg("copy") = false);
            },
            py::arg("dtype") = py::none())
        .def_property_readonly(
            "shape",
            [](const FieldObject& self)
            { return py::make_tuple(self.grid().sizeX, self.grid().sizeY, self.grid().sizeZ); },
            "Nodes along each axis.")
        .def_property_readonly(
            "dtype",
            [](const FieldObject& self)
            { return self.singles ? py::dtype::of<float>() : py::dtype::of<double>(); },
            "float32 or float64.")
        .def_property_readonly(
            "spacing", [](const FieldObject& self) { return tupleOf(self.grid().separation); },
            "Between neighbouring nodes along each axis.")
        .def_property_readonly(
            "origin", [](const FieldObject& self) { return tupleOf(self.grid().box.min); }, "The first node.")
        .def_property_readonly(
            "bounds", [](const FieldObject& self) { return boundsOf(self.grid().box); },
            "The first and the last node, shape (2, 3).")
        .def("copy", &copyOfField, R"(A field with samples of its own.

    >>> tavrix.Field(numpy.zeros((2, 2, 2))).copy().shape
    (2, 2, 2)
    )")
        .def("__copy__", &copyOfField)
        .def("__deepcopy__", [](const py::object& self, const py::dict&) { return copyOfField(self); })
        .def("__repr__",
             [](const FieldObject& self)
             {
                 const auto& grid = self.grid();
                 return "<tavrix.Field of " + std::to_string(grid.sizeX) + " x " +
                        std::to_string(grid.sizeY) + " x " + std::to_string(grid.sizeZ) +
                        (self.singles ? " float32" : " float64") + " samples>";
             })
        .def(py::pickle(
            [](const py::object& self)
            { return py::make_tuple(fieldSamples(self), self.attr("spacing"), self.attr("origin")); },
            [](const py::tuple& state)
            {
                if (state.size() != 3) throw py::value_error("the pickled state is not a field's");
                return makeField(state[0], state[1], state[2]);
            }));
    bindQueries(type);
    module.def("marching_cubes", &marchingCubes, py::arg("samples"), py::arg("level"),
               py::arg("spacing") = 1.0, py::arg("origin") = py::make_tuple(0, 0, 0), py::kw_only(),
               py::arg("inside") = "above", py::arg("clean") = true, py::arg("normals") = false,
               py::arg("threads") = py::none(), py::arg("progress") = py::none(),
               R"(The surface where samples cross a level, as a mesh of marching cubes.

    samples: shape (nx, ny, nz), any real dtype; float32 and float64 in C order are read where they lie. spacing:
    between nodes, one number or three. origin: the first node. inside: 'above' or 'below', on which side of the level
    the solid lies, which faces look away from. clean: joins coincident vertices and drops faces without area. The
    surface is open where the solid reaches the border of the grid. normals: with them, as Mesh.with_normals makes them. Raises ValueError for what makes no grid.

    >>> x, y, z = numpy.ogrid[-2:2:41j, -2:2:41j, -2:2:41j]
    >>> ball = tavrix.marching_cubes(1 - x*x - y*y - z*z, 0, 0.1, (-2, -2, -2))
    >>> ball.is_closed, round(ball.volume, 2)
    (True, 4.16)
    )");
}

}  // namespace tavrix::python
