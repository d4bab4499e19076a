// A poster that is constructed and destroyed and acquires nothing: for a test program that
// defines most of the poster's routines itself.
#include "app/AppPost.h"

CAppPost::CAppPost()
{
    pthread_mutex_init(&m_mutex, nullptr);
}

CAppPost::~CAppPost()
{
    pthread_mutex_destroy(&m_mutex);
}
