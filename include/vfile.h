/// The whole library: what users include.
#pragma once

#include <vfile/export.h>
#include <vfile/handle.h>
#include <vfile/names.h>
#include <vfile/types.h>
#include <vfile/virtual_file.h>
