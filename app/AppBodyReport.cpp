// Nothing to do in the daemon.
#include "app/AppBodyReport.h"

void body_begun(const CHead& /*head*/)
{
}

void body_part(BodyPart /*part*/, const char* /*text*/, size_t /*length*/,
               const PartSource& /*source*/)
{
}

void body_left_out(BodyPart /*part*/, const PartSource& /*source*/, LeftOut /*why*/)
{
}

void body_details_begun(bool /*is_again*/)
{
}
