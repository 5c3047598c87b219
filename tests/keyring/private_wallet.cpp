// SPDX-License-Identifier: MIT
#include "private_wallet.h"

#include <QDir>
#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>
#include <QPasswordDigestor>

#include <array>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

namespace velmora::testing
{

namespace
{

constexpr const char *kWallet = "kdewallet";
constexpr int kHashSize = 56;
constexpr int kHashIterations = 50'000;

/// A file of the wallet.
QString walletFile(const char *suffix)
{
    return QDir::homePath() + QLatin1String("/.local/share/kwalletd/") + QLatin1String(kWallet) + QLatin1String(suffix);
}

/// The key of the wallet: KWallet hashes a typed password in this way.
QByteArray hashOf(const QByteArray &password)
{
    QFile salt(walletFile(".salt"));
    if (!salt.open(QIODevice::ReadOnly))
        throw std::runtime_error("run this test under with-private-keyring kwallet");
    return QPasswordDigestor::deriveKeyPbkdf2(
        QCryptographicHash::Sha512, password, salt.readAll(), kHashIterations, kHashSize);
}

/// The reading end of a pipe that contains the bytes.
std::unique_ptr<QFile> pipeWith(const QByteArray &bytes)
{
    std::array<int, 2> ends = {-1, -1};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        throw std::runtime_error("there is no pipe");
    auto readable = std::make_unique<QFile>();
    QFile writable;
    if (!readable->open(ends[0], QIODevice::ReadOnly, QFile::AutoCloseHandle)
        || !writable.open(ends[1], QIODevice::WriteOnly | QIODevice::Unbuffered, QFile::AutoCloseHandle)
        || writable.write(bytes) != bytes.size())
        throw std::runtime_error("the pipe takes nothing");
    return readable;
}

} // namespace

PrivateWallet::PrivateWallet()
    : PrivateProvider(QStringLiteral("kwalletd5"), QStringLiteral("^KDE Wallet Service"))
{
}

/// Starts KWallet like the PAM module: the hash comes through a pipe, and the environment of the session through a
/// socket. Here the environment is written to the socket in advance.
void PrivateWallet::logIn()
{
    const auto hash = pipeWith(hashOf(password()));
    const QString address = qEnvironmentVariable("XDG_RUNTIME_DIR") + QLatin1String("/wallet");
    QLocalServer session;
    if (!session.listen(address))
        throw std::runtime_error("there is no socket for the environment");
    QLocalSocket login;
    login.connectToServer(address);
    login.write("DISPLAY=" + qgetenv("DISPLAY") + '\n');
    if (!login.waitForBytesWritten())
        throw std::runtime_error("the socket takes no environment");
    login.disconnectFromServer();
    qputenv("PAM_KWALLET5_LOGIN", QFile::encodeName(address));
    const int socket = static_cast<int>(session.socketDescriptor());
    launch({QStringLiteral("--pam-login"), QString::number(hash->handle()), QString::number(socket)}, {},
        {hash->handle(), socket});
    qunsetenv("PAM_KWALLET5_LOGIN");
    blockUntil([this] { return isOpen(); }, "KWallet did not open the wallet");
}

/// KWallet offers a new wallet only after a restart.
void PrivateWallet::makeWallet()
{
    logIn();
    blockUntil([] { return QFile::exists(walletFile(".kwl")); }, "KWallet did not make the wallet");
}

void PrivateWallet::start()
{
    if (!QFile::exists(walletFile(".kwl")))
        makeWallet();
    logIn();
    blockUntil([] { return hasCollection(); }, "KWallet did not offer the wallet");
}

void PrivateWallet::startLocked()
{
    launch({});
    blockUntil([] { return hasCollection(true); }, "KWallet did not offer the wallet");
}

void PrivateWallet::setAsksAboutPrograms(bool asks)
{
    const QByteArray key = "Prompt on Open=";
    QFile settings(QDir::homePath() + QLatin1String("/.config/kwalletrc"));
    if (!settings.open(QIODevice::ReadWrite))
        throw std::runtime_error("KWallet has no settings");
    QByteArray text = settings.readAll();
    text.replace(key + (asks ? "false" : "true"), key + (asks ? "true" : "false"));
    settings.resize(0);
    settings.write(text);
}

bool PrivateWallet::isOpen() const
{
    GDBusConnection *const bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    GVariant *const reply = g_dbus_connection_call_sync(bus, "org.kde.kwalletd5", "/modules/kwalletd5",
        "org.kde.KWallet", "isOpen", g_variant_new("(s)", kWallet), G_VARIANT_TYPE("(b)"),
        G_DBUS_CALL_FLAGS_NO_AUTO_START, -1, nullptr, nullptr);
    g_object_unref(bus);
    if (!reply)
        return false;
    gboolean isOpen = FALSE;
    g_variant_get(reply, "(b)", &isOpen);
    g_variant_unref(reply);
    return isOpen;
}

} // namespace velmora::testing
