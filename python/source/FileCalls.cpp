#include "FileCalls.h"

#include <filesystem>
#include <fstream>

#include "formats/Failure.h"
#include "formats/FileName.h"

namespace tavrix::python
{

namespace
{

PyObject* typeOfReadError(const std::string& path)
{
    const std::filesystem::path name = formats::pathOf(path);
    std::error_code ignored;
    if (!std::filesystem::exists(name, ignored)) return PyExc_FileNotFoundError;
    if (std::filesystem::is_directory(name, ignored)) return PyExc_IsADirectoryError;
    return std::ifstream(name) ? PyExc_ValueError : PyExc_PermissionError;
}

[[noreturn]] void raise(PyObject* type, const char* what)
{
    PyErr_SetString(type, what);
    throw py::error_already_set();
}

}  // namespace

std::string pathIn(const py::object& path)
{
    const py::bytes name(py::module_::import("os").attr("fsencode")(path));
    const std::string text(name);
    if (text.find('\0') != std::string::npos) throw py::value_error("path: holds a zero byte");
    return text == "-" ? "./-" : text;
}

py::str textOf(std::string_view text)
{
    return py::reinterpret_steal<py::str>(
        PyUnicode_DecodeUTF8(text.data(), static_cast<py::ssize_t>(text.size()), "replace"));
}

void readFile(const std::string& path, const std::function<void()>& read)
{
    try
    {
        const py::gil_scoped_release release;
        read();
    }
    catch (const formats::Failure& failure)
    {
        raise(typeOfReadError(path), failure.what());
    }
}

void writeFile(const std::function<void()>& write)
{
    try
    {
        const py::gil_scoped_release release;
        write();
    }
    catch (const formats::Failure& failure)
    {
        raise(PyExc_OSError, failure.what());
    }
}

}  // namespace tavrix::python
