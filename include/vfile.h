/// The whole of vfile in one header. Everything is in namespace vfile; start with VFile in
/// <vfile/virtual_file.h>.
#pragma once

#include <vfile/bounded_strings.h>
#include <vfile/char_file.h>
#include <vfile/clock.h>
#include <vfile/edit_family.h>
#include <vfile/export.h>
#include <vfile/halt.h>
#include <vfile/handle.h>
#include <vfile/host_dir.h>
#include <vfile/host_file.h>
#include <vfile/internal.h>
#include <vfile/names.h>
#include <vfile/numbers.h>
#include <vfile/result.h>
#include <vfile/thread.h>
#include <vfile/types.h>
#include <vfile/virtual_file.h>
#include <vfile/vmem.h>
