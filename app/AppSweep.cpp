// The steps of a sweep. A file of its own: who asks for a kind's name needs none of the routines.
#include "app/AppBodyKinds.h"
#include "app/AppPost.h"

const std::array<SweepStep, kSweepSteps>& sweep_steps()
{
    static constexpr std::array<SweepStep, kSweepSteps> kSteps = {
        &CAppPost::PostNormal, &CAppPost::PostGeneral, &CAppPost::PostDio, &CAppPost::PostCam,
        &CAppPost::PostOther};
    static_assert(kSteps.back() != nullptr, "each step has its routine");
    return kSteps;
}
