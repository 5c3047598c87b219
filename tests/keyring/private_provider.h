// SPDX-License-Identifier: MIT
#pragma once

#include <gio/gio.h>

#include <QByteArray>
#include <QElapsedTimer>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QThread>

#include <stdexcept>
#include <vector>

namespace velmora::testing
{

/// A program that offers the Secret Service and asks for the password in a dialog, on the display started by
/// with-private-keyring. Works independently of the credential store. Functions block unless stated otherwise.
class PrivateProvider
{
public:
    PrivateProvider(const PrivateProvider &) = delete;
    PrivateProvider &operator=(const PrivateProvider &) = delete;

    /// Kills the program and waits until it has left the bus.
    void end();
    /// Locks the default collection of the running program.
    void lock();
    [[nodiscard]] pid_t pid() const { return static_cast<pid_t>(m_program.processId()); }

    /// Whether the program shows its password dialog.
    [[nodiscard]] bool isAsking() const;
    /// Types the password into the dialog. Does not wait for the effect.
    void typePassword();
    /// Closes the dialog without an answer. Does not wait for the effect.
    void dismiss();

protected:
    /// `dialogTitle` is a pattern for the title of the dialog.
    PrivateProvider(QString program, QString dialogTitle);
    ~PrivateProvider();

    /// Restarts the program; does not wait for its service. `input` is its standard input; `inherited` are descriptors
    /// that it shares with the test.
    void launch(const QStringList &arguments, const QByteArray &input = {}, const std::vector<int> &inherited = {});

    /// The password of the collection.
    [[nodiscard]] static QByteArray password();
    /// Whether a default collection exists; the second overload also compares its state.
    [[nodiscard]] static bool hasCollection();
    [[nodiscard]] static bool hasCollection(bool isLocked);
    /// Waits for the condition; throws an exception with the text after a minute.
    template <typename Condition>
    static void blockUntil(Condition condition, const char *complaint)
    {
        QElapsedTimer watchdog;
        watchdog.start();
        while (!condition()) {
            if (watchdog.hasExpired(60'000))
                throw std::runtime_error(complaint);
            QThread::msleep(20);
        }
    }

private:
    void press(const QStringList &keys);
    [[nodiscard]] QString dialog() const;

    QString m_name;
    QString m_dialogTitle;
    QProcess m_program;
};

} // namespace velmora::testing
