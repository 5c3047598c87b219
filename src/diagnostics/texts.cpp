// SPDX-License-Identifier: MIT
#include "diagnostics/texts.h"

#include "http/host_address.h"
#include "presentation/relative_time.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <QRegularExpression>

namespace velmora
{

namespace
{

/// From this skew on, the expiry of tokens is misjudged and time-limited requests may fail.
constexpr std::chrono::seconds kWorryingSkew(60);

/// Enterprise Servers before this version support only the older API.
constexpr std::pair kFirstWithNewAPI(3, 21);
const QByteArray kOldAPI = "2022-11-28";

QString number(qint64 value)
{
    return QLocale(QLocale::English, QLocale::UnitedStates).toString(value);
}

QString budgetText(const QString &name, const QJsonObject &budget, Instant now)
{
    if (!budget.value(QLatin1String("remaining")).isDouble() || !budget.value(QLatin1String("limit")).isDouble())
        return QString();
    QString left = QStringLiteral("%1 %2 of %3 left")
                       .arg(name, number(budget.value(QLatin1String("remaining")).toInteger()),
                           number(budget.value(QLatin1String("limit")).toInteger()));
    const auto reset = Instant(std::chrono::seconds(budget.value(QLatin1String("reset")).toInteger()));
    const auto minutes = std::chrono::ceil<std::chrono::minutes>(reset - now).count();
    if (minutes <= 0)
        return left;
    return QStringLiteral("%1, resets in %2 min").arg(left, number(minutes));
}

} // namespace

QString gitHubKind(const QUrl &api)
{
    if (isOnThisMachine(api))
        return QStringLiteral("loopback");
    if (api.host() == QLatin1String("github.com") || api.host() == QLatin1String("api.github.com"))
        return QStringLiteral("github.com");
    if (api.host().endsWith(QLatin1String(".ghe.com")))
        return QStringLiteral("GHE.com tenant");
    return QStringLiteral("Enterprise Server");
}

QString proxyText(const Proxy &proxy)
{
    switch (proxy.kind) {
    case Proxy::Kind::None:
        return QStringLiteral("none");
    case Proxy::Kind::SOCKS5:
        return QStringLiteral("a proxy (socks5)");
    case Proxy::Kind::HTTP:
        return proxy.user.isEmpty() ? QStringLiteral("a proxy (http)")
                                    : QStringLiteral("a proxy (http), with a user name");
    }
    Q_UNREACHABLE();
}

QString answerText(std::optional<int> status, std::chrono::milliseconds duration)
{
    const QString what = status ? QStringLiteral("HTTP %1").arg(*status) : QStringLiteral("an answer that is not HTTP");
    return QStringLiteral("%1 in %2 ms").arg(what, number(duration.count()));
}

QString clockText(std::optional<Instant> gitHubTime, Instant now)
{
    if (!gitHubTime)
        return QStringLiteral("GitHub does not tell its time");
    const auto skew = std::chrono::round<std::chrono::seconds>(now - *gitHubTime);
    const auto size = std::chrono::abs(skew);
    if (size < std::chrono::seconds(2))
        return QStringLiteral("agrees with GitHub's");
    const QString side = skew.count() > 0 ? QStringLiteral("ahead of") : QStringLiteral("behind");
    const QString text = QStringLiteral("%1 s %2 GitHub's").arg(number(size.count()), side);
    return size < kWorryingSkew ? text : text + QStringLiteral("; the expiry of tokens is misjudged");
}

QString serverText(const std::optional<QByteArray> &version, const QByteArray &apiVersion)
{
    if (!version)
        return QString();
    static const QRegularExpression form(QStringLiteral("\\A([0-9]{1,3})\\.([0-9]{1,3})(\\.[0-9]{1,5})?\\z"));
    const QString told = QString::fromLatin1(version->trimmed());
    const auto match = form.match(told);
    if (!match.hasMatch())
        return QStringLiteral("Enterprise Server of a version that cannot be read");
    QString text = QStringLiteral("Enterprise Server %1").arg(told);
    const std::pair found(match.captured(1).toInt(), match.captured(2).toInt());
    if (found >= kFirstWithNewAPI || apiVersion <= kOldAPI)
        return text;
    return QStringLiteral("%1, which knows no API of %2: set VELMORA_API_VERSION=%3")
        .arg(text, QString::fromLatin1(apiVersion), QString::fromLatin1(kOldAPI));
}

QString rateLimitsText(const QByteArray &answer, Instant now)
{
    const auto resources = QJsonDocument::fromJson(answer).object().value(QLatin1String("resources")).toObject();
    QStringList texts;
    for (const QString &name : {QStringLiteral("graphql"), QStringLiteral("core")}) {
        const QString text = budgetText(name, resources.value(name).toObject(), now);
        if (!text.isEmpty())
            texts.append(text);
    }
    return texts.join(QStringLiteral("; "));
}

QString sizeText(qint64 bytes)
{
    return QLocale::c().formattedDataSize(bytes, 1, QLocale::DataSizeSIFormat);
}

QString identityCountsText(const IdentityCounts &counts)
{
    if (counts.all == 0)
        return QStringLiteral("none");
    const int unknown = counts.all - counts.connected - counts.toReconnect;
    QStringList parts;
    const auto add = [&](int count, const QString &what) {
        if (count > 0)
            parts.append(QStringLiteral("%1 %2").arg(count).arg(what));
    };
    add(counts.connected, QStringLiteral("connected"));
    add(counts.toReconnect, QStringLiteral("to be connected again"));
    add(unknown, QStringLiteral("unknown"));
    return QStringLiteral("%1 (%2)").arg(counts.all).arg(parts.join(QStringLiteral(", ")));
}

QString plainName(const QString &text)
{
    static const QRegularExpression form(QStringLiteral("\\A[A-Za-z0-9._+ -]{1,40}\\z"));
    const QString name = text.simplified();
    return form.match(name).hasMatch() ? name : QString();
}

QString plainVersion(const QString &text)
{
    const QString version = plainName(text.simplified().section(QLatin1Char(' '), 0, 0));
    return version.size() > 20 ? QString() : version;
}

QStringList homesOfPerson()
{
    QStringList homes;
    const QString named = qEnvironmentVariable("HOME");
    if (!named.startsWith(QLatin1Char('/')))
        return homes;
    for (const QString &home : {QDir::cleanPath(named), QDir(named).canonicalPath()}) {
        if (!home.isEmpty() && home != QLatin1String("/") && !homes.contains(home))
            homes.append(home);
    }
    return homes;
}

QString pathFromHome(const QString &path, const QStringList &homes)
{
    for (const QString &home : homes) {
        if (path == home || path.startsWith(home + QLatin1Char('/')))
            return QLatin1Char('~') + path.mid(home.size());
    }
    return QStringLiteral("…/") + path.section(QLatin1Char('/'), -2);
}

} // namespace velmora
