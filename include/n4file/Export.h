// Symbol visibility for the N4FILE shared library.
//
// N4FILE_API marks every class and function that applications may use. The
// library is built with hidden visibility, so anything without the macro stays
// private to it. The static archive used by the test programs needs no marks.
#pragma once

#if defined(N4FILE_STATIC)
#define N4FILE_API
#elif defined(_WIN32)
#if defined(N4FILE_BUILDING)
#define N4FILE_API __declspec(dllexport)
#else
#define N4FILE_API __declspec(dllimport)
#endif
#else
#define N4FILE_API __attribute__((visibility("default")))
#endif
