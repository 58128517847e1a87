#pragma once

#include <pybind11/pybind11.h>

#include <mutex>

// The library is used from one thread at a time, Python has many. Every function of the module
// takes the one lock below for as long as it runs in the library.

namespace binding {

namespace py = pybind11;

/// Starts the library when the module is imported.
void startLibrary();
/// Closes what is open and stops the library, before the interpreter ends.
void stopLibrary() noexcept;

/// Has the lock of the library and keeps that of Python: for what is done in no time. While another
/// thread is in the library, Python's lock is given up.
class Locked {
 public:
  Locked();

 private:
  std::unique_lock<std::recursive_mutex> lock_;
};

/// Has the lock of the library and gives that of Python up: for opening, decoding and saving. No
/// object of Python may be touched meanwhile.
class Released {
 public:
  Released();

 private:
  py::gil_scoped_release release_;
  std::unique_lock<std::recursive_mutex> lock_;
};

/// What the library reported to its host since the last call becomes warnings of Python. Throws
/// when these are exceptions.
void showWarnings();

}  // namespace binding
