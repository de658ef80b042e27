// MException: the one failure type of the system, thrown by value and caught by
// reference at a boundary that decides what the failure means there.
#pragma once

#include <cstdint>
#include <utility>
#if defined(__GLIBCXX__)
#include <cxxabi.h>
#endif

#include "foundation/text/text_string.h"

namespace kx {

// Class numbers of failures; no handler branches on them beyond logging.
enum MExceptionCode : uint32_t {
  kErrorGeneral = 0,          // bad arguments, format, XML/MBX errors, out of range
  kErrorNotImplemented = 1,   // a service the stream or control class does not offer
  kErrorInvalidArgument = 2,  // invalid argument value (a seek origin)
  kErrorIO = 256,             // data I/O on an open stream or file, unreadable contents
  kErrorOpen = 257,           // a file or codec could not be opened or initialised
  kErrorNotInitialized = 258, // use of a stream that is not initialised
  kErrorNetwork = 512,        // sockets, names, connection
  kErrorHTTP = 513,           // HTTP protocol: bad replies, missing header
};

class MException {
 public:
  // The message is composed complete at the throw site; an MFormat converts to MString.
  explicit MException(MString message, uint32_t code = kErrorGeneral)
      : message(std::move(message)), code(code) {}
  MException(MString title, MString message, uint32_t code)
      : title(std::move(title)), message(std::move(message)), code(code) {}
  virtual ~MException() = default;

  MString title;
  MString message;
  uint32_t code = kErrorGeneral;
};

// Receives the text of a foreign failure caught by a guard. Does nothing in this
// build: it must neither throw nor show a window (it can run inside painting).
void ReportSystemException(const MString& text) noexcept;

// Composes "SYSTEM EXCEPTION! {0}" with the label and reports it.
void ReportGuardFailure(const char* label) noexcept;

// The guard that stands around every callback, thread body and event delivery.
// Returns true when the body ran through; an MException is absorbed silently,
// anything else is reported under `label`. Processor faults are not turned into
// exceptions on Linux (see docs/platform-linux.md). The unwinding of a cancelled
// thread (MThread::Kill) is let through: swallowing it would end the process.
template <typename Body>
bool Guarded(const char* label, Body&& body) {
  try {
    body();
    return true;
  } catch (MException&) {
    return false;
#if defined(__GLIBCXX__)
  } catch (abi::__forced_unwind&) {
    throw;
#endif
  } catch (...) {
    ReportGuardFailure(label);
    return false;
  }
}

}  // namespace kx
