// A library that ends whoever loads it, or is of no use otherwise.
#include <cstdlib>

#ifdef STUB_ENDS
[[gnu::constructor]] static void end()
{
    std::abort();
}
#endif

extern "C" void nothing()
{
}
