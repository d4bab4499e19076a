// See AppInternal.h: nothing to do in the daemon.
#include "app/AppInternal.h"

void body_part(BodyPart /*part*/, const char* /*text*/, size_t /*length*/)
{
}
