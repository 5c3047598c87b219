// SPDX-License-Identifier: MIT
#include "fake_secret_service.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusVariant>

namespace velmora::testing
{

namespace
{

using Attributes = QMap<QString, QString>;
using Paths = QList<QDBusObjectPath>;

const QString kRoot = QStringLiteral("/org/freedesktop/secrets");
const QString kCollection = kRoot + QStringLiteral("/collection/main");
const QString kItem = kCollection + QStringLiteral("/1");
const QString kSession = kRoot + QStringLiteral("/session/1");
const QString kPrompt = kRoot + QStringLiteral("/prompt/1");

QDBusObjectPath noPath()
{
    return QDBusObjectPath(QStringLiteral("/"));
}

QString shortName(const QString &interface)
{
    return interface.mid(interface.lastIndexOf(QLatin1Char('.')) + 1);
}

} // namespace

/// A secret in the format of an unencrypted session.
struct PlainSecret {
    QDBusObjectPath session;
    QByteArray parameters;
    QByteArray value;
    QString contentType;
};

} // namespace velmora::testing

Q_DECLARE_METATYPE(velmora::testing::PlainSecret)

namespace velmora::testing
{

QDBusArgument &operator<<(QDBusArgument &argument, const PlainSecret &secret)
{
    argument.beginStructure();
    argument << secret.session << secret.parameters << secret.value << secret.contentType;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, PlainSecret &secret)
{
    argument.beginStructure();
    argument >> secret.session >> secret.parameters >> secret.value >> secret.contentType;
    argument.endStructure();
    return argument;
}

namespace
{

using Secrets = QMap<QDBusObjectPath, PlainSecret>;

} // namespace

FakeSecretService::FakeSecretService()
    : m_connection(QString())
{
    qDBusRegisterMetaType<Attributes>();
    qDBusRegisterMetaType<PlainSecret>();
    qDBusRegisterMetaType<Secrets>();
}

FakeSecretService::~FakeSecretService()
{
    disappear();
}

bool FakeSecretService::appear(const QString &name)
{
    static int number = 0;
    m_connectionName = QStringLiteral("fake-%1").arg(++number);
    m_connection = QDBusConnection::connectToBus(QDBusConnection::SessionBus, m_connectionName);
    return m_connection.registerVirtualObject(kRoot, this, QDBusConnection::SubPath)
        && m_connection.registerService(name);
}

void FakeSecretService::disappear()
{
    if (m_connectionName.isEmpty())
        return;
    m_heldBack.clear();
    // Qt closes the connection on another thread, which reads the objects that are registered.
    m_connection.unregisterObject(kRoot, QDBusConnection::UnregisterTree);
    m_connection = QDBusConnection(QString());
    QDBusConnection::disconnectFromBus(m_connectionName);
    m_connectionName.clear();
}

QString FakeSecretService::introspect(const QString &) const
{
    return {};
}

bool FakeSecretService::handleMessage(const QDBusMessage &message, const QDBusConnection &)
{
    if (isHeldBack)
        m_heldBack.append(message);
    else
        answerCall(message);
    return true;
}

void FakeSecretService::release()
{
    isHeldBack = false;
    const auto messages = std::exchange(m_heldBack, {});
    for (const QDBusMessage &message : messages)
        answerCall(message);
}

void FakeSecretService::answerCall(const QDBusMessage &message)
{
    calls.append(message.member());
    // Providers decline an encrypted session with NotSupported.
    const bool isSession = message.member() == QLatin1String("OpenSession");
    const auto refusal = isSession ? QDBusError::NotSupported : QDBusError::UnknownMethod;
    const bool isSecret
        = message.member() == QLatin1String("CreateItem") || message.member().startsWith(QLatin1String("GetSecret"));
    if (isSecret && m_isMisreading)
        m_connection.send(message.createErrorReply(QDBusError::InvalidArgs, message.member()));
    else if (const auto arguments = reply(message))
        m_connection.send(message.createReply(*arguments));
    else
        m_connection.send(message.createErrorReply(refusal, message.member()));
    if (message.member() != QLatin1String("Prompt") || answer == Answer::Never)
        return;
    complete(answer == Answer::Dismiss);
}

std::optional<QVariantList> FakeSecretService::reply(const QDBusMessage &message)
{
    const QString interface = shortName(message.interface());
    if (interface == QLatin1String("Properties")) {
        const QVariantMap all = properties(shortName(message.arguments().at(0).toString()));
        if (message.member() == QLatin1String("GetAll"))
            return QVariantList{all};
        return QVariantList{QVariant::fromValue(QDBusVariant(all.value(message.arguments().at(1).toString())))};
    }
    if (interface == QLatin1String("Service"))
        return replyOfService(message);
    if (interface == QLatin1String("Item"))
        return replyOfItem(message.member());
    if (interface == QLatin1String("Prompt"))
        return QVariantList{};
    if (message.member() != QLatin1String("CreateItem") || !hasCollection)
        return std::nullopt;
    store(message);
    return QVariantList{QVariant::fromValue(QDBusObjectPath(kItem)), QVariant::fromValue(noPath())};
}

std::optional<QVariantList> FakeSecretService::replyOfService(const QDBusMessage &message)
{
    const QString member = message.member();
    const auto path = [](const QDBusObjectPath &value) {
        return QVariant::fromValue(value);
    };
    if (member == QLatin1String("OpenSession")) {
        if (message.arguments().at(0).toString() != QLatin1String("plain"))
            return std::nullopt;
        m_isMisreading = misreadSessions > 0;
        misreadSessions = std::max(0, misreadSessions - 1);
        return QVariantList{QVariant::fromValue(QDBusVariant(QString())), path(QDBusObjectPath(kSession))};
    }
    if (member == QLatin1String("SearchItems")) {
        const bool isShown = secret && !(isLocked && hidesLockedItems);
        const Paths found = isShown ? Paths{QDBusObjectPath(kItem)} : Paths();
        const Paths unlocked = isLocked ? Paths() : found;
        const Paths locked = isLocked ? found : Paths();
        return QVariantList{QVariant::fromValue(unlocked), QVariant::fromValue(locked)};
    }
    if (member == QLatin1String("GetSecrets"))
        return QVariantList{QVariant::fromValue(Secrets{{QDBusObjectPath(kItem), answeredSecret()}})};
    if (member == QLatin1String("ReadAlias"))
        return QVariantList{path(hasCollection ? QDBusObjectPath(kCollection) : noPath())};
    if (member == QLatin1String("Unlock")) {
        if (!isLocked)
            return QVariantList{message.arguments().at(0), path(noPath())};
        m_prompting = QStringLiteral("unlock");
        return QVariantList{QVariant::fromValue(Paths()), path(QDBusObjectPath(kPrompt))};
    }
    if (member == QLatin1String("CreateCollection")) {
        m_prompting = QStringLiteral("create");
        return QVariantList{path(noPath()), path(QDBusObjectPath(kPrompt))};
    }
    return std::nullopt;
}

PlainSecret FakeSecretService::answeredSecret() const
{
    return {QDBusObjectPath(kSession), {}, secret.value_or(QByteArray()), QStringLiteral("application/json")};
}

std::optional<QVariantList> FakeSecretService::replyOfItem(const QString &member)
{
    if (member == QLatin1String("GetSecret"))
        return QVariantList{QVariant::fromValue(answeredSecret())};
    if (member != QLatin1String("Delete"))
        return std::nullopt;
    secret.reset();
    return QVariantList{QVariant::fromValue(noPath())};
}

QVariantMap FakeSecretService::properties(const QString &interface) const
{
    QVariantMap all;
    if (interface == QLatin1String("Service")) {
        all.insert(QStringLiteral("Collections"), QVariant::fromValue(Paths{QDBusObjectPath(kCollection)}));
        return all;
    }
    all.insert(QStringLiteral("Locked"), isLocked);
    all.insert(QStringLiteral("Label"), QStringLiteral("label"));
    all.insert(QStringLiteral("Created"), QVariant::fromValue<qulonglong>(1));
    all.insert(QStringLiteral("Modified"), QVariant::fromValue<qulonglong>(1));
    if (interface == QLatin1String("Item"))
        all.insert(QStringLiteral("Attributes"), QVariant::fromValue(Attributes()));
    else
        all.insert(QStringLiteral("Items"), QVariant::fromValue(Paths()));
    return all;
}

void FakeSecretService::complete(bool isDismissed)
{
    QVariant result = QVariant::fromValue(Paths());
    if (m_prompting == QLatin1String("create"))
        result = QVariant::fromValue(isDismissed ? noPath() : QDBusObjectPath(kCollection));
    if (!isDismissed) {
        isLocked = false;
        hasCollection = true;
        if (m_prompting == QLatin1String("unlock"))
            result = QVariant::fromValue(Paths{QDBusObjectPath(secret ? kItem : kCollection)});
    }
    QDBusMessage completed = QDBusMessage::createSignal(
        kPrompt, QStringLiteral("org.freedesktop.Secret.Prompt"), QStringLiteral("Completed"));
    completed << isDismissed << QVariant::fromValue(QDBusVariant(result));
    m_connection.send(completed);
}

void FakeSecretService::store(const QDBusMessage &message)
{
    secret = qdbus_cast<PlainSecret>(message.arguments().at(1)).value;
}

} // namespace velmora::testing
