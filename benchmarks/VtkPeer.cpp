#include "VtkPeer.h"

#include <vtkFloatArray.h>
#include <vtkFlyingEdges3D.h>
#include <vtkImageData.h>
#include <vtkNew.h>
#include <vtkPointData.h>
#include <vtkPolyData.h>
#include <vtkSMPTools.h>

long long flyingEdges(const float* samples, int size, int threads)
{
    vtkSMPTools::SetBackend("STDThread");
    vtkSMPTools::Initialize(threads);
    vtkNew<vtkImageData> image;
    image->SetDimensions(size, size, size);
    vtkNew<vtkFloatArray> scalars;
    scalars->SetArray(const_cast<float*>(samples), static_cast<vtkIdType>(size) * size * size, 1);
    image->GetPointData()->SetScalars(scalars);
    vtkNew<vtkFlyingEdges3D> filter;
    filter->SetInputData(image);
    filter->SetValue(0, 0.0);
    filter->ComputeNormalsOff();
    filter->ComputeGradientsOff();
    filter->ComputeScalarsOff();
    filter->Update();
    return filter->GetOutput()->GetNumberOfPolys();
}
