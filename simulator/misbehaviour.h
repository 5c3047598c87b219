// SPDX-License-Identifier: MIT
#pragma once

#include "simulator/http_message.h"

#include <QJsonObject>

#include <functional>
#include <optional>

namespace velmora::simulator
{

/// How an answer is delivered; by default without a fault.
struct Delivery {
    enum class Close {
        Never, ///< the connection stays open
        Before, ///< the connection closes without an answer
        Middle, ///< the connection closes after half of the body
    };
    int delayMilliseconds = 0;
    std::optional<qint64> truncateAfter; ///< bytes of the body to send, while Content-Length announces all
    bool keepsRest = false; ///< what truncateAfter cuts off never comes, and the connection stays open
    bool endlessBody = false; ///< spaces follow the body without end
    bool hang = false; ///< no answer before Simulator::answerHanging()
    std::function<void(std::function<void()> send)> defer; ///< if set, is called with what sends the answer
    Close close = Close::Never;
};

/// A fault, and the requests it applies to.
struct MisbehaviourRule {
    QByteArray method; ///< empty: any
    QByteArray path; ///< empty: any; "*" at the end: any path with this prefix
    QString login; ///< empty: any; else only requests with a valid token of this login
    int after = 0; ///< the number of matching requests to skip first
    int times = -1; ///< the number of requests to apply it to; negative: unlimited

    std::optional<int> status; ///< absent: the ordinary answer, modified
    QList<Header> headers; ///< added, or replacing headers of the same name
    std::optional<QByteArray> body;
    Delivery delivery;

    /// Parses a rule from the JSON of the control endpoint; nothing, with a reason, if it is wrong.
    [[nodiscard]] static std::optional<MisbehaviourRule> fromJSON(const QJsonObject &json, QString *reason);
    /// Whether the rule applies to the request, whose token belongs to `requestLogin`.
    [[nodiscard]] bool matches(const Request &request, const QString &requestLogin) const;
    /// The ordinary answer as modified by this rule.
    [[nodiscard]] Response apply(Response ordinary) const;
};

/// The rules in force. The first rule that matches and is not used up applies.
class Misbehaviour
{
public:
    void add(const MisbehaviourRule &rule) { m_rules.append(rule); }
    void clear() { m_rules.clear(); }
    [[nodiscard]] qsizetype count() const { return m_rules.size(); }
    /// The rule for this request, counted as used; nothing if the request gets the ordinary answer.
    [[nodiscard]] std::optional<MisbehaviourRule> take(const Request &request, const QString &login);

private:
    QList<MisbehaviourRule> m_rules;
};

} // namespace velmora::simulator
