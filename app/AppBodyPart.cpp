// See AppBodyWriter.h: nothing to do in the daemon.
#include "app/AppBodyWriter.h"

void body_part(BodyPart /*part*/, const char* /*text*/, size_t /*length*/)
{
}
