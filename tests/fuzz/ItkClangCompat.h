#pragma once

// Forced into the image file reader in the fuzz build. Debian's ITK 5.2 headers accept only GCC in their compiler
// detection; clang implements the same GNU dialect, so the detection is run once here as if for a
// current GCC, and its include guard keeps the real header from running again.
#if defined(__clang__) && __has_include(<itk_compiler_detection.h>)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wbuiltin-macro-redefined"
#pragma push_macro("__clang__")
#pragma push_macro("__GNUC__")
#undef __clang__
#undef __GNUC__
#define __GNUC__ 12
#include <itk_compiler_detection.h>
#pragma pop_macro("__GNUC__")
#pragma pop_macro("__clang__")
#pragma clang diagnostic pop
#endif
