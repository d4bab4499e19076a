// The steps of a sweep. A file of its own: who asks for a kind's name needs none of the routines.
#include "app/AppBodyKinds.h"
#include "app/AppPost.h"

#include <iterator>

namespace
{

constexpr SweepStep kRoutines[] = {&CAppPost::PostNormal, &CAppPost::PostGeneral,
                                   &CAppPost::PostDio, &CAppPost::PostCam, &CAppPost::PostOther};
static_assert(std::size(kRoutines) == kSweepSteps, "each step has its routine");

} // namespace

SweepStep sweep_step(size_t step)
{
    return kRoutines[step];
}
