// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <exception>

namespace velmora
{

/// The root of every failure that Velmora throws.
///
/// A description is written for the user and shown word for word. It never holds a token, a response body or other
/// unrequested data from the network.
class Error : public std::exception
{
public:
    /// The message for the user.
    [[nodiscard]] virtual QString description() const = 0;
    /// The type of the error, for the log only.
    [[nodiscard]] const char *what() const noexcept override { return "velmora::Error"; }
};

/// The owner of the work stopped it. Never shown to the user.
class CancellationError final : public Error
{
public:
    [[nodiscard]] QString description() const override;
    [[nodiscard]] const char *what() const noexcept override { return "velmora::CancellationError"; }
    friend bool operator==(const CancellationError &, const CancellationError &) { return true; }
};

/// An error that carries nothing but its description.
class DescribedError : public Error
{
public:
    explicit DescribedError(QString description);
    [[nodiscard]] QString description() const override { return m_description; }

private:
    QString m_description;
};

/// Invalid JSON, or JSON of another shape than agreed. The description names the place, never a value.
class DecodingError final : public DescribedError
{
public:
    using DescribedError::DescribedError;
    [[nodiscard]] const char *what() const noexcept override { return "velmora::DecodingError"; }
};

/// The request got no response: no network, unknown host, broken connection, time-out, bad certificate.
class TransportError final : public Error
{
public:
    /// The cases that callers tell apart.
    enum class Kind {
        Network, ///< any other cause
        TimedOut, ///< the connection was silent, or the deadline of the whole exchange passed
        BodyTooLarge, ///< the response is larger than the accepted size
    };

    TransportError(Kind kind, QString description);
    [[nodiscard]] Kind kind() const { return m_kind; }
    [[nodiscard]] QString description() const override { return m_description; }
    [[nodiscard]] const char *what() const noexcept override { return "velmora::TransportError"; }

private:
    Kind m_kind;
    QString m_description;
};

/// A file that cannot be read, written or locked.
class FileError final : public DescribedError
{
public:
    using DescribedError::DescribedError;
    [[nodiscard]] const char *what() const noexcept override { return "velmora::FileError"; }
};

/// A text from another program, cut to 500 characters so that it may become part of a description.
[[nodiscard]] QString cutText(const QString &text);

/// The description of any exception: an Error's own, else the text of a standard exception. `failure` must not be null.
[[nodiscard]] QString describe(const std::exception_ptr &failure);

/// Whether `failure` holds a CancellationError.
[[nodiscard]] bool isCancellation(const std::exception_ptr &failure);

} // namespace velmora
