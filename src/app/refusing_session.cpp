// SPDX-License-Identifier: MIT
#include "app/refusing_session.h"

#include "app/properties_file.h"

namespace velmora
{

RefusingSession::RefusingSession(QString reason)
    : m_reason(std::move(reason))
{
}

QCoro::Task<HTTPResponse> RefusingSession::send(
    [[maybe_unused]] HTTPRequest request, [[maybe_unused]] std::stop_token stop)
{
    throw ConfigurationError(m_reason);
    co_return HTTPResponse(); // makes this a coroutine, so that the failure is thrown where it is awaited
}

} // namespace velmora
