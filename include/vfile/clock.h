/// The system's clock, in local time.
///
///   Units     hours 0 to 23, minutes, seconds and milliseconds from 0, days and months from 1, years in full
///   Errors    none are reported: a change that the system refuses (it takes privileges) is lost in silence.
///             Each field travels in 16 bits unsigned, and what lies above them is dropped.
///   Threads   any; nothing guards a change of the clock against another writer.
#pragma once

#include <vfile/export.h>
#include <vfile/types.h>

namespace vfile {

VFILE_EXPORT void GetTime(std::int32_t& hour, std::int32_t& minute, std::int32_t& second,
                          std::int32_t& millisecond);

/// Sets the time and leaves the date.
VFILE_EXPORT void SetTime(std::int32_t hour, std::int32_t minute, std::int32_t second,
                          std::int32_t millisecond);

/// The day comes first.
VFILE_EXPORT void GetDate(std::int32_t& day, std::int32_t& month, std::int32_t& year);

/// Sets the date and leaves the time.
VFILE_EXPORT void SetDate(std::int32_t day, std::int32_t month, std::int32_t year);

}  // namespace vfile
