// SPDX-License-Identifier: MIT
#include <libsecret/secret.h>

#include "private_provider.h"

#include <QFile>

#include <csignal>
#include <fcntl.h>
#include <memory>
#include <sys/prctl.h>

namespace velmora::testing
{

namespace
{

struct ObjectDeleter {
    void operator()(gpointer object) const { g_object_unref(object); }
};
using Service = std::unique_ptr<SecretService, ObjectDeleter>;
using Collection = std::unique_ptr<SecretCollection, ObjectDeleter>;

/// Uses a connection of its own, so that the caches of the tested store stay unaware.
Service openService()
{
    return Service(secret_service_open_sync(SECRET_TYPE_SERVICE, nullptr, SECRET_SERVICE_NONE, nullptr, nullptr));
}

Collection openCollection(SecretService *service)
{
    if (!service)
        return {};
    return Collection(
        secret_collection_for_alias_sync(service, SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE, nullptr, nullptr));
}

bool hasProvider()
{
    const Service service = openService();
    gchar *owner = service ? g_dbus_proxy_get_name_owner(G_DBUS_PROXY(service.get())) : nullptr;
    const bool isOwned = owner != nullptr;
    g_free(owner);
    return isOwned;
}

} // namespace

PrivateProvider::PrivateProvider(QString program, QString dialogTitle)
    : m_name(std::move(program))
    , m_dialogTitle(std::move(dialogTitle))
{
}

PrivateProvider::~PrivateProvider()
{
    m_program.kill();
    m_program.waitForFinished();
}

QByteArray PrivateProvider::password()
{
    QFile file(qEnvironmentVariable("VELMORA_KEYRING_PASSWORD_FILE"));
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error("run this test under with-private-keyring");
    return file.readAll();
}

bool PrivateProvider::hasCollection()
{
    const Service service = openService();
    return openCollection(service.get()) != nullptr;
}

bool PrivateProvider::hasCollection(bool isLocked)
{
    const Service service = openService();
    const Collection collection = openCollection(service.get());
    return collection && static_cast<bool>(secret_collection_get_locked(collection.get())) == isLocked;
}

void PrivateProvider::launch(const QStringList &arguments, const QByteArray &input, const std::vector<int> &inherited)
{
    end();
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    m_program.setProcessEnvironment(environment);
    m_program.setStandardOutputFile(QProcess::nullDevice());
    m_program.setStandardErrorFile(QProcess::nullDevice());
    m_program.setChildProcessModifier([inherited] {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        for (const int descriptor : inherited)
            ::fcntl(descriptor, F_SETFD, 0);
    });
    m_program.start(m_name, arguments);
    if (!input.isEmpty())
        m_program.write(input);
    m_program.closeWriteChannel();
    m_program.waitForBytesWritten();
    m_program.waitForStarted();
}

void PrivateProvider::end()
{
    if (m_program.state() == QProcess::NotRunning)
        return;
    m_program.kill();
    m_program.waitForFinished();
    blockUntil([] { return !hasProvider(); }, "the provider did not end");
}

void PrivateProvider::lock()
{
    const Service service = openService();
    const Collection collection = openCollection(service.get());
    if (!collection)
        throw std::runtime_error("there is no default collection");
    GList objects = {collection.get(), nullptr, nullptr};
    secret_service_lock_sync(service.get(), &objects, nullptr, nullptr, nullptr);
    blockUntil([] { return hasCollection(true); }, "the default collection was not locked");
}

QString PrivateProvider::dialog() const
{
    QProcess search;
    search.start(QStringLiteral("xdotool"),
        {QStringLiteral("search"), QStringLiteral("--onlyvisible"), QStringLiteral("--name"), m_dialogTitle});
    search.waitForFinished();
    return QString::fromLatin1(search.readAllStandardOutput()).section(QLatin1Char('\n'), 0, 0);
}

bool PrivateProvider::isAsking() const
{
    return !dialog().isEmpty();
}

void PrivateProvider::press(const QStringList &keys)
{
    const QString window = dialog();
    if (window.isEmpty())
        return;
    const QStringList focus{QStringLiteral("windowfocus"), QStringLiteral("--sync"), window};
    QProcess::execute(QStringLiteral("xdotool"), focus + keys);
}

void PrivateProvider::typePassword()
{
    press({QStringLiteral("key"), QStringLiteral("ctrl+a"), QStringLiteral("type"), QStringLiteral("--delay"),
        QStringLiteral("2"), QString::fromUtf8(password())});
    press({QStringLiteral("key"), QStringLiteral("Return")});
}

void PrivateProvider::dismiss()
{
    press({QStringLiteral("key"), QStringLiteral("Escape")});
}

} // namespace velmora::testing
