// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QStringList>
#include <QVariantMap>

#include <functional>
#include <optional>

namespace velmora::testing
{

struct PlainSecret;

/// A Secret Service with one collection and at most one item. The test answers its prompts in place of a user. Runs in
/// the event loop of the test, on a bus connection of its own.
class FakeSecretService final : public QDBusVirtualObject
{
    Q_OBJECT

public:
    /// How a prompt is answered.
    enum class Answer {
        Unlock,
        Dismiss,
        Never,
    };

    FakeSecretService();
    ~FakeSecretService() override;

    /// Takes the name of the provider; false if it is taken.
    bool appear(const QString &name = QStringLiteral("org.freedesktop.secrets"));
    /// Closes the connection, like the end of a process.
    void disappear();

    [[nodiscard]] QString introspect(const QString &path) const override;
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override;

    /// Answers the prompt that was shown while `answer` was `Never`.
    void complete(bool isDismissed);

    Answer answer = Answer::Unlock;
    bool isLocked = false;
    bool hidesLockedItems = false; ///< searches find nothing while the collection is locked
    bool hasCollection = true;
    std::optional<QByteArray> secret; ///< the secret of the one item; absent: there is no item
    int misreadSessions = 0; ///< the number of future sessions in which secrets are rejected
    bool isHeldBack = false; ///< calls get no reply before release()
    /// Replies to the calls that were held back.
    void release();

    QStringList calls; ///< the members of all answered calls, in order

private:
    void answerCall(const QDBusMessage &message);
    [[nodiscard]] std::optional<QVariantList> reply(const QDBusMessage &message);
    [[nodiscard]] std::optional<QVariantList> replyOfService(const QDBusMessage &message);
    [[nodiscard]] std::optional<QVariantList> replyOfItem(const QString &member);
    [[nodiscard]] PlainSecret answeredSecret() const;
    [[nodiscard]] QVariantMap properties(const QString &interface) const;
    void store(const QDBusMessage &message);

    QDBusConnection m_connection;
    QString m_connectionName;
    QList<QDBusMessage> m_heldBack;
    bool m_isMisreading = false;
    QString m_prompting; ///< the purpose of the prompt: "unlock", "delete" or "create"
};

} // namespace velmora::testing
