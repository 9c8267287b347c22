// The library's own assertion stop: tells the module and the line on which the check stands.
#pragma once

#include <vfile/halt.h>

#define VFILE_REQUIRE(module, condition) \
    ((condition) ? static_cast<void>(0) : ::vfile::HaltA(module, std::int32_t{__LINE__}))
