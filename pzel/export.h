// What the shared library exports: everything marked PZEL_API, nothing else (symbols are hidden by default).
#pragma once

#if defined(_WIN32)
#if defined(PZEL_BUILDING)
#define PZEL_API __declspec(dllexport)
#else
#define PZEL_API __declspec(dllimport)
#endif
#else
#define PZEL_API __attribute__((visibility("default")))
#endif
