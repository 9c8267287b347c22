/// Result codes: one small number for every failure of ordinary file work.
///
/// Objects store the code of their last failure in their field `res`; static operations hand it out. A broken
/// contract of the caller is no result code but a halt.
#pragma once

#include <vfile/export.h>
#include <vfile/types.h>

namespace vfile {

class HFile;

/// A result code. The library itself gives 0 to 24; a hook of the host may give any other value, which has no
/// word of its own.
using FileRes = std::int32_t;

inline constexpr FileRes ResDone = 0;
inline constexpr FileRes ResNotDone = 1;  ///< a failure of no better known kind
inline constexpr FileRes ResCallError = 2;
inline constexpr FileRes ResContextError = 3;
inline constexpr FileRes ResReadOnly = 4;
inline constexpr FileRes ResHeapOverflow = 5;
inline constexpr FileRes ResAlreadyExists = 6;
inline constexpr FileRes ResAlreadyOpen = 7;  ///< for the host: the library never gives it
inline constexpr FileRes ResIllegalDrive = 8;
inline constexpr FileRes ResIllegalPath = 9;
inline constexpr FileRes ResIllegalName = 10;
inline constexpr FileRes ResIllegalFile = 11;
inline constexpr FileRes ResUnknownDrive = 12;  ///< for the host: the library never gives it
inline constexpr FileRes ResUnknownPath = 13;
inline constexpr FileRes ResNotFound = 14;
inline constexpr FileRes ResDiskFull = 15;
inline constexpr FileRes ResTooLong = 16;
inline constexpr FileRes ResNoPermission = 17;
inline constexpr FileRes ResNotSupported = 18;
inline constexpr FileRes ResNotImplemented = 19;
inline constexpr FileRes ResTooManyFiles = 20;
inline constexpr FileRes ResDeviceOff = 21;
inline constexpr FileRes ResDiskParityError = 22;
inline constexpr FileRes ResHardwareError = 23;  ///< for the host: the library never gives it
inline constexpr FileRes ResNetworkError = 24;

/// The code of the calling thread's last failed operation of the system's, `ResNotDone` for an error without
/// a code of its own. To be asked at once: whatever fails next on this thread takes its place.
VFILE_EXPORT FileRes GetFileRes();

/// The code stored in `file`, `ResNotDone` when that is outside 0 to 24. Asks nothing of the system.
VFILE_EXPORT FileRes GetFileRes(HFile const& file);

/// Fills `msg`, of `size` units with the terminator, with the English words of `res`: "not found", or
/// "unknown error code" outside 0 to 24. What does not fit is cut. Differs from HFile::GetResMsg in
/// `ResHeapOverflow` alone, which is "not enough memory" here. Stops: `msg` null or `size` 0.
VFILE_EXPORT void GetTextResMsg(TChar* msg, std::uint32_t size, FileRes res);

}  // namespace vfile
