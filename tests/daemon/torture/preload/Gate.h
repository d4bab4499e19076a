// Whether a call fails, asked by every definition of this library.
//
// Safe at any moment and on any thread, also inside malloc and a signal's handler: nothing is
// allocated, no lock is taken, and what is called while a decision is made passes through.
#pragma once

#include <cerrno>
#include <cstddef>

#include "tests/daemon/torture/Block.h"
#include "tests/daemon/torture/Functions.h"

// True when this call of the function is to fail; code is then the error to give.
bool call_fails(size_t function, int& code);

// Tells the campaign where the program gives itself up.
void note_abort();

// Whether an address lies in the daemon itself or its database library.
bool is_ours(const void* address);

// The block; null when this library was loaded without one.
TortureBlock* torture_block();

// The definition that this library stands before, of a function in the list or by its name.
void* next_definition(size_t function);
void* definition_of(const char* name);

template <typename Function> Function next(size_t function)
{
    return reinterpret_cast<Function>(next_definition(function));
}

// A definition under a name that the system's headers declare, too, with attributes of their own:
// in C++ it has a name of ours.
#define VK_DEFINE(RESULT, NAME, PARAMETERS)                                                        \
    extern "C" __attribute__((visibility("default"))) RESULT vk_##NAME PARAMETERS __asm__(#NAME);  \
    RESULT vk_##NAME PARAMETERS

#define VK_INDEX(NAME)                                                                             \
    constexpr size_t kIndex = function_index(#NAME);                                               \
    static_assert(kIndex < kFunctionCount, "a function that Functions.h does not list")

// The whole definition of a function that says by FAILED, and by errno, that it failed.
#define VK_MAY_FAIL(RESULT, NAME, PARAMETERS, ARGUMENTS, FAILED)                                   \
    VK_DEFINE(RESULT, NAME, PARAMETERS)                                                            \
    {                                                                                              \
        VK_INDEX(NAME);                                                                            \
        int code = 0;                                                                              \
        if (call_fails(kIndex, code))                                                              \
        {                                                                                          \
            errno = code;                                                                          \
            return FAILED;                                                                         \
        }                                                                                          \
        return next<RESULT(*) PARAMETERS>(kIndex) ARGUMENTS;                                       \
    }

// The same for one that releases what it is given also when it fails.
#define VK_MAY_FAIL_AFTERWARDS(RESULT, NAME, PARAMETERS, ARGUMENTS, FAILED)                        \
    VK_DEFINE(RESULT, NAME, PARAMETERS)                                                            \
    {                                                                                              \
        VK_INDEX(NAME);                                                                            \
        int code = 0;                                                                              \
        const bool fails = call_fails(kIndex, code);                                               \
        const RESULT result = next<RESULT(*) PARAMETERS>(kIndex) ARGUMENTS;                        \
        if (fails)                                                                                 \
        {                                                                                          \
            errno = code;                                                                          \
            return FAILED;                                                                         \
        }                                                                                          \
        return result;                                                                             \
    }
