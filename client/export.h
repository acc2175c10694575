// Marks what the shared library exports.
#pragma once

#if __cplusplus < 202002L
#error "libtagwriter needs C++20 (-std=c++20)"
#endif

#if defined(__GNUC__)
#define TAGWRITER_API [[gnu::visibility("default")]]
#else
#define TAGWRITER_API
#endif
