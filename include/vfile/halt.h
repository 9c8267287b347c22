/// How a program stops when a contract is broken or the swap file fails.
///
/// A stop builds its message and hands it to the current halt procedure of the process. The default one shows
/// the message under the title "Program halted" (on POSIX on standard error) and ends the process with
/// `abort()`. A host may install its own, for instance to write a log, or to throw.
///
/// No stop is an error return. Should the halt procedure return, the operation that stopped goes on with
/// whatever failed its check, and nothing is promised for it; only the bounded strings and the checked
/// conversions (<vfile/bounded_strings.h>, <vfile/numbers.h>) say what they do then.
///
/// The stop that surprises most is that of a virtual file which is still there when its thread or the process
/// ends, as after `exit()`: <vfile/thread.h> says what to do.
///
///   Texts     zero-terminated; a null one counts as empty. A formatted message has at most 255 units, and
///             what does not fit is cut.
///   Threads   any. The halt procedure runs on the thread that stopped. Nothing orders an install against a
///             stop on another thread: install before other threads use the library.
///   Set-up    none: stops work before `main` and whatever the state of the library.
#pragma once

#include <vfile/export.h>
#include <vfile/types.h>

namespace vfile {

/// Takes the message of a stop. The string lives on the stack of the stopping call: it is not to be kept.
using HaltProc = void (*)(TChar const* message);

/// Makes `proc`, which must not be null, the halt procedure of the process. The one before is not
/// remembered.
VFILE_EXPORT void InstallHaltProc(HaltProc proc);

/// Makes the default procedure the halt procedure again. Harmless when none was installed.
VFILE_EXPORT void DeinstallHaltProc();

/// Stops with `msg` itself, unformatted and however long.
VFILE_EXPORT void Halt(TChar const* msg);

/// Stops with "module: msg".
VFILE_EXPORT void Halt(TChar const* module, TChar const* msg);

/// Stops with "module, proc():", a line feed, and `msg`: the form of a named condition.
VFILE_EXPORT void Halt(TChar const* module, TChar const* proc, TChar const* msg);

/// Stops with "module, line N:", a line feed, and "Assertion failure": the form of a broken contract. `line`
/// is the line of the source text on which the check stands.
VFILE_EXPORT void HaltA(TChar const* module, std::int32_t line);

/// Stops with "module, proc(), line N:", a line feed, and "Assertion failure".
VFILE_EXPORT void HaltA(TChar const* module, TChar const* proc, std::int32_t line);

/// Stops with "Fatal Error N in module M ", the blank at the end included.
VFILE_EXPORT void Fatal(TChar const* module, std::int32_t number);

}  // namespace vfile
