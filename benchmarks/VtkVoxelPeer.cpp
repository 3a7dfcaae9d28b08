#include <vtkCellArray.h>
#include <vtkDoubleArray.h>
#include <vtkImageStencilData.h>
#include <vtkNew.h>
#include <vtkPoints.h>
#include <vtkPolyData.h>
#include <vtkPolyDataToImageStencil.h>
#include <vtkSmartPointer.h>
#include <vtkTypeInt64Array.h>

#include "VoxelPeer.h"

struct VoxelPeer::Data
{
    vtkNew<vtkPolyData> mesh;
    vtkSmartPointer<vtkImageStencilData> stencil;
};

VoxelPeer::VoxelPeer(const double* coordinates, std::size_t vertices, const std::uint32_t* corners,
                     std::size_t faces)
    : _data(std::make_unique<Data>())
{
    vtkNew<vtkDoubleArray> array;
    array->SetNumberOfComponents(3);
    array->SetArray(const_cast<double*>(coordinates), static_cast<vtkIdType>(3 * vertices), 1);
    vtkNew<vtkPoints> points;
    points->SetData(array);
    _data->mesh->SetPoints(points);
    vtkNew<vtkTypeInt64Array> offsets, connectivity;
    offsets->SetNumberOfValues(static_cast<vtkIdType>(faces + 1));
    connectivity->SetNumberOfValues(static_cast<vtkIdType>(3 * faces));
    for (std::size_t f = 0; f <= faces; ++f) offsets->SetValue(static_cast<vtkIdType>(f), 3 * f);
    for (std::size_t c = 0; c < 3 * faces; ++c) connectivity->SetValue(static_cast<vtkIdType>(c), corners[c]);
    vtkNew<vtkCellArray> cells;
    cells->SetData(offsets, connectivity);
    _data->mesh->SetPolys(cells);
}

VoxelPeer::~VoxelPeer() = default;

void VoxelPeer::voxelize(const Grid& grid)
{
    const auto [x, y, z] = grid.sizes;
    vtkNew<vtkPolyDataToImageStencil> filter;
    filter->SetInputData(_data->mesh);
    filter->SetOutputOrigin(grid.origin[0], grid.origin[1], grid.origin[2]);
    filter->SetOutputSpacing(grid.spacing[0], grid.spacing[1], grid.spacing[2]);
    filter->SetOutputWholeExtent(0, x - 1, 0, y - 1, 0, z - 1);
    filter->SetTolerance(0);
    filter->Update();
    _data->stencil = filter->GetOutput();
}

std::vector<std::uint8_t> VoxelPeer::nodes() const
{
    int extent[6];
    _data->stencil->GetExtent(extent);
    const int sizeX = extent[1] + 1, sizeY = extent[3] + 1, sizeZ = extent[5] + 1;
    std::vector<std::uint8_t> nodes(static_cast<std::size_t>(sizeX) * sizeY * sizeZ);
    for (int z = 0; z < sizeZ; ++z)
        for (int y = 0; y < sizeY; ++y)
        {
            int first, last, next = 0;
            while (_data->stencil->GetNextExtent(first, last, 0, sizeX - 1, y, z, next))
                for (int x = first; x <= last; ++x)
                    nodes[(static_cast<std::size_t>(x) * sizeY + y) * sizeZ + z] = 1;
        }
    return nodes;
}
