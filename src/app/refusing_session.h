// SPDX-License-Identifier: MIT
#pragma once

#include "http/http_session.h"

#include <QString>

namespace velmora
{

/// Sends nothing: every request fails with a ConfigurationError that gives the reason.
class RefusingSession final : public HTTPSession
{
public:
    explicit RefusingSession(QString reason);

    [[nodiscard]] QCoro::Task<HTTPResponse> send(HTTPRequest request, std::stop_token stop) override;

private:
    QString m_reason;
};

} // namespace velmora
