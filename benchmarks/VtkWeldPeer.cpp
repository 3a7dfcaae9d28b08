#include <vtkCellArray.h>
#include <vtkCleanPolyData.h>
#include <vtkFloatArray.h>
#include <vtkNew.h>
#include <vtkPoints.h>
#include <vtkPolyData.h>
#include <vtkSMPTools.h>
#include <vtkStaticCleanPolyData.h>
#include <vtkTypeInt64Array.h>

#include "WeldPeers.h"

namespace
{

void fill(vtkPolyData* soup, const float* coordinates, std::size_t corners)
{
    vtkNew<vtkFloatArray> array;
    array->SetNumberOfComponents(3);
    array->SetArray(const_cast<float*>(coordinates), static_cast<vtkIdType>(3 * corners), 1);
    vtkNew<vtkPoints> points;
    points->SetData(array);
    soup->SetPoints(points);
    vtkNew<vtkTypeInt64Array> offsets, connectivity;
    offsets->SetNumberOfValues(static_cast<vtkIdType>(corners / 3 + 1));
    connectivity->SetNumberOfValues(static_cast<vtkIdType>(corners));
    for (std::size_t f = 0; f <= corners / 3; ++f) offsets->SetValue(static_cast<vtkIdType>(f), 3 * f);
    for (std::size_t c = 0; c < corners; ++c) connectivity->SetValue(static_cast<vtkIdType>(c), c);
    vtkNew<vtkCellArray> cells;
    cells->SetData(offsets, connectivity);
    soup->SetPolys(cells);
}

}  // namespace

long long vtkWeld(const float* coordinates, std::size_t corners)
{
    vtkNew<vtkPolyData> soup;
    fill(soup, coordinates, corners);
    vtkNew<vtkCleanPolyData> filter;
    filter->SetInputData(soup);
    filter->ToleranceIsAbsoluteOn();
    filter->SetAbsoluteTolerance(0);
    filter->Update();
    return filter->GetOutput()->GetNumberOfPoints();
}

long long vtkStaticWeld(const float* coordinates, std::size_t corners, double tolerance, int threads)
{
    vtkSMPTools::SetBackend("STDThread");
    vtkSMPTools::Initialize(threads);
    vtkNew<vtkPolyData> soup;
    fill(soup, coordinates, corners);
    vtkNew<vtkStaticCleanPolyData> filter;
    filter->SetInputData(soup);
    filter->ToleranceIsAbsoluteOn();
    filter->SetAbsoluteTolerance(tolerance);
    filter->Update();
    return filter->GetOutput()->GetNumberOfPoints();
}
