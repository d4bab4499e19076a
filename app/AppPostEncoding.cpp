// The character encoding in which bodies leave the host.
#include <algorithm>
#include <cstring>
#include <new>

#include "app/AppPost.h"
#include "app/AppPostEncoding.h"
#include "common/BufHelper.h"

namespace
{

CBodyText allocate(size_t bytes)
{
    return CBodyText(new (std::nothrow) char[bytes]);
}

} // namespace

CBodyText outgoing_body(const char* body)
{
    const size_t length = std::strlen(body);
    CBodyText copy = allocate(length + 1);
    if (copy != nullptr)
    {
        std::memcpy(copy.get(), body, length + 1);
    }
    if (CAppPost::m_sEncoding == kUtf8)
    {
        return copy;
    }

    const size_t room = 4 * length + 1;
    CBodyText converted = allocate(room);
    if (copy == nullptr || converted == nullptr)
    {
        return nullptr;
    }
    const int written =
        CBufHelper::conv_code(CAppPost::m_sEncoding.c_str(), kUtf8, converted.get(), copy.get());
    std::fill(converted.get() + written, converted.get() + room, '\0');
    return converted;
}
