// SPDX-License-Identifier: MIT
#include "support/web_address.h"

namespace velmora
{

bool WebAddress::isOpenable() const
{
    const QUrl parsed = url();
    const QString scheme = parsed.scheme();
    return parsed.isValid() && !parsed.host().isEmpty()
        && (scheme == QLatin1String("https") || scheme == QLatin1String("http"));
}

WebAddress WebAddress::appendingPathComponent(const QString &component) const
{
    QUrl parsed = url();
    QString path = parsed.path(QUrl::FullyEncoded);
    if (!path.endsWith(QLatin1Char('/')))
        path += QLatin1Char('/');
    parsed.setPath(path + QString::fromUtf8(QUrl::toPercentEncoding(component)), QUrl::TolerantMode);
    parsed.setQuery(QString());
    parsed.setFragment(QString());
    return WebAddress(parsed.toString(QUrl::FullyEncoded));
}

} // namespace velmora
