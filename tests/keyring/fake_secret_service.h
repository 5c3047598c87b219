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

/// A provider of the Secret Service with one collection and at most one item, whose prompts are answered
/// by the test instead of by a user. Runs in the event loop of the test, on a connection of its own.
class FakeSecretService final : public QDBusVirtualObject
{
    Q_OBJECT

public:
    /// What happens to a prompt.
    enum class Answer {
        Unlock,
        Dismiss,
        Never,
    };

    FakeSecretService();
    ~FakeSecretService() override;

    /// Takes the name of the provider; false when somebody else has it.
    bool appear(const QString &name = QStringLiteral("org.freedesktop.secrets"));
    /// Ends like a process: the connection is closed.
    void disappear();

    [[nodiscard]] QString introspect(const QString &path) const override;
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override;

    /// Answers the prompt that was shown while the answer was `Never`.
    void complete(bool isDismissed);

    Answer answer = Answer::Unlock;
    bool isLocked = false;
    bool hidesLockedItems = false; ///< a search in the locked collection finds nothing
    bool hasCollection = true;
    std::optional<QByteArray> secret; ///< of the one item; nothing: there is no item
    int misreadSessions = 0; ///< no secret gets through as many of the next sessions
    bool isHeldBack = false; ///< calls get no reply until release()
    /// Replies to what was held back.
    void release();

    QStringList calls; ///< members of every call that was answered, in order

private:
    void answerCall(const QDBusMessage &message);
    [[nodiscard]] std::optional<QVariantList> reply(const QDBusMessage &message);
    [[nodiscard]] std::optional<QVariantList> replyOfService(const QDBusMessage &message);
    [[nodiscard]] std::optional<QVariantList> replyOfItem(const QString &member);
    [[nodiscard]] QVariantMap properties(const QString &interface) const;
    void store(const QDBusMessage &message);

    QDBusConnection m_connection;
    QString m_connectionName;
    QList<QDBusMessage> m_heldBack;
    bool m_isMisreading = false;
    QString m_prompting; ///< what the prompt is about: "unlock", "delete" or "create"
};

} // namespace velmora::testing
