/// Marks the names that the shared library exports; everything else is hidden.
///   VFILE_LOCAL     hides a private member of an exported class.
///   VFILE_STATIC    define it to use the static library on a platform that tells imports from local names.
///   VFILE_BUILDING  defined while the library itself is compiled.
#pragma once

#if defined(_WIN32) && !defined(VFILE_STATIC)
#define VFILE_LOCAL
#if defined(VFILE_BUILDING)
#define VFILE_EXPORT __declspec(dllexport)
#else
#define VFILE_EXPORT __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define VFILE_EXPORT __attribute__((visibility("default")))
#define VFILE_LOCAL __attribute__((visibility("hidden")))
#else
#define VFILE_EXPORT
#define VFILE_LOCAL
#endif
