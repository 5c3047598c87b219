// SPDX-License-Identifier: MIT
#pragma once

#include "simulator/http_message.h"

#include <QJsonObject>

#include <optional>

namespace velmora::simulator
{

/// How an answer goes out; the default is faultless.
struct Delivery {
    enum class Close {
        Never, ///< the connection is kept
        Before, ///< the connection ends without a byte of an answer
        Middle, ///< the connection ends after half of the body
    };
    int delayMilliseconds = 0;
    std::optional<qint64> truncateAfter; ///< bytes of the body, whose full length was promised
    bool endlessBody = false; ///< the body is followed by blanks without an end
    bool hang = false; ///< nothing is answered before Simulator::answerHanging()
    Close close = Close::Never;
};

/// One way to misbehave, and for which requests.
struct MisbehaviourRule {
    QByteArray method; ///< empty: any
    QByteArray path; ///< empty: any; with a "*" at its end: the beginning of the path
    QString login; ///< empty: any; otherwise only requests that carry a valid token of that person
    int after = 0; ///< requests that match but pass untouched first
    int times = -1; ///< requests that it is applied to; negative: for ever

    std::optional<int> status; ///< absent: the ordinary answer, with what follows changed
    QList<Header> headers; ///< added; one that the answer has already is replaced
    std::optional<QByteArray> body;
    Delivery delivery;

    /// The rule that the JSON of the control endpoint describes; nothing, with a reason, when it is wrong.
    [[nodiscard]] static std::optional<MisbehaviourRule> fromJSON(const QJsonObject &json, QString *reason);
    /// Whether it is meant for the request, which the token in it shows to be that person's.
    [[nodiscard]] bool matches(const Request &request, const QString &requestLogin) const;
    /// The ordinary answer as this rule changes it.
    [[nodiscard]] Response apply(Response ordinary) const;
};

/// The rules in force. The first that matches and is not used up decides.
class Misbehaviour
{
public:
    void add(const MisbehaviourRule &rule) { m_rules.append(rule); }
    void clear() { m_rules.clear(); }
    [[nodiscard]] qsizetype count() const { return m_rules.size(); }
    /// The rule for this request of that person, counted as used; nothing when the request is to be answered as usual.
    [[nodiscard]] std::optional<MisbehaviourRule> take(const Request &request, const QString &login);

private:
    QList<MisbehaviourRule> m_rules;
};

} // namespace velmora::simulator
