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

/// A program that offers the Secret Service and asks for the password in a dialog, on the display that
/// with-private-keyring has started; seen from outside the credential store. Blocks, unless said otherwise.
class PrivateProvider
{
public:
    PrivateProvider(const PrivateProvider &) = delete;
    PrivateProvider &operator=(const PrivateProvider &) = delete;

    /// Kills the program and waits until the bus knows.
    void end();
    /// Locks the default collection of the running program.
    void lock();
    [[nodiscard]] pid_t pid() const { return static_cast<pid_t>(m_program.processId()); }

    /// Whether the program shows the dialog in which it asks for the password.
    [[nodiscard]] bool isAsking() const;
    /// Types the password into the dialog. Does not wait for what comes of it.
    void typePassword();
    /// Closes the dialog without an answer. Does not wait for what comes of it.
    void dismiss();

protected:
    /// `dialogTitle`: a pattern that matches the title of the dialog.
    PrivateProvider(QString program, QString dialogTitle);
    ~PrivateProvider();

    /// Ends the program and starts it anew. Does not wait until it offers anything.
    /// `input`: what it reads from its standard input; `inherited`: descriptors that it shares with the test.
    void launch(const QStringList &arguments, const QByteArray &input = {}, const std::vector<int> &inherited = {});

    /// The password of the collection.
    [[nodiscard]] static QByteArray password();
    /// Whether there is a default collection, locked or not.
    [[nodiscard]] static bool hasCollection();
    [[nodiscard]] static bool hasCollection(bool isLocked);
    /// Throws with the text when the condition does not hold within 20 seconds.
    template <typename Condition>
    static void blockUntil(Condition condition, const char *complaint)
    {
        QElapsedTimer watchdog;
        watchdog.start();
        while (!condition()) {
            if (watchdog.hasExpired(20'000))
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
