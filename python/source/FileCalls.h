#pragma once

#include <functional>
#include <string>

#include <pybind11/pybind11.h>

namespace tavrix::python
{

namespace py = pybind11;

/// The name of a file that Python gave as str, bytes or os.PathLike; "-" is a file as any other.
std::string pathIn(const py::object& path);

/// Text of files, in which what is no UTF-8 is replaced.
py::str textOf(std::string_view text);

/// @name File calls
/// Run work without the interpreter's lock, and raise what the file calls for where it throws a Failure:
/// FileNotFoundError, IsADirectoryError, PermissionError or ValueError for a file that was read, OSError for
/// one that was written.
/// @{
void readFile(const std::string& path, const std::function<void()>& read);
void writeFile(const std::function<void()>& write);
/// @}

}  // namespace tavrix::python
