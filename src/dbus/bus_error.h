// SPDX-License-Identifier: MIT
#pragma once

#include "support/error.h"

#include <QDBusMessage>

namespace velmora
{

/// A call over the bus that got another answer than expected. Knows the meaning of D-Bus's names for errors.
class BusError final : public Error
{
public:
    enum class Kind {
        NoBus, ///< there is no connection to a bus
        NoOwner, ///< no program owns the name, and the bus knows none to start
        NotStarted, ///< the bus could not start the program
        NoAnswer, ///< no answer in time
        Unknown, ///< the program has no such method, or not with these arguments
        Refused, ///< any other error, or a reply of another form
    };

    /// `answer` is an error, or a reply of another form than expected.
    explicit BusError(const QDBusMessage &answer);
    [[nodiscard]] Kind kind() const { return m_kind; }
    /// D-Bus's name of the error.
    [[nodiscard]] QString name() const { return m_name; }
    /// Never a text of the other program.
    [[nodiscard]] QString description() const override;
    [[nodiscard]] const char *what() const noexcept override { return "velmora::BusError"; }

private:
    Kind m_kind;
    QString m_name;
};

/// Throws a BusError unless the answer is a reply with this signature.
void requireReply(const QDBusMessage &answer, const QString &signature);

} // namespace velmora
