// SPDX-License-Identifier: MIT
#include "http/http_session.h"

namespace velmora
{

std::optional<QByteArray> HTTPResponse::header(QByteArrayView name) const
{
    for (const auto &[key, value] : headers) {
        if (key.compare(name, Qt::CaseInsensitive) == 0)
            return value;
    }
    return std::nullopt;
}

} // namespace velmora
