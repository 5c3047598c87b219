// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <exception>

namespace velmora
{

/// The root of every failure that Velmora throws.
///
/// A description is written for the person who reads it, is shown word for word, and never holds a
/// token, a response body or anything else that came over the network unasked.
class Error : public std::exception
{
public:
    /// What went wrong, as the person is told.
    [[nodiscard]] virtual QString description() const = 0;
    /// The type of the error, for the log only.
    [[nodiscard]] const char *what() const noexcept override { return "velmora::Error"; }
};

/// The work was stopped by its owner. Never shown to anybody.
class CancellationError final : public Error
{
public:
    [[nodiscard]] QString description() const override;
    [[nodiscard]] const char *what() const noexcept override { return "velmora::CancellationError"; }
    friend bool operator==(const CancellationError &, const CancellationError &) { return true; }
};

/// JSON that is not JSON, or not of the agreed shape. The description names the place, never a value.
class DecodingError final : public Error
{
public:
    explicit DecodingError(QString description);
    [[nodiscard]] QString description() const override { return m_description; }
    [[nodiscard]] const char *what() const noexcept override { return "velmora::DecodingError"; }

private:
    QString m_description;
};

/// The request got no answer: no network, no name, a broken connection, a time-out, a bad certificate.
class TransportError final : public Error
{
public:
    /// What the caller may want to tell apart.
    enum class Kind {
        Network, ///< anything that has no kind of its own
        TimedOut, ///< silence, or the deadline of the whole exchange
        BodyTooLarge, ///< the answer was over the size that is accepted
    };

    TransportError(Kind kind, QString description);
    [[nodiscard]] Kind kind() const { return m_kind; }
    [[nodiscard]] QString description() const override { return m_description; }
    [[nodiscard]] const char *what() const noexcept override { return "velmora::TransportError"; }

private:
    Kind m_kind;
    QString m_description;
};

/// A file that cannot be read or written.
class FileError final : public Error
{
public:
    explicit FileError(QString description);
    [[nodiscard]] QString description() const override { return m_description; }
    [[nodiscard]] const char *what() const noexcept override { return "velmora::FileError"; }

private:
    QString m_description;
};

/// A text that another program wrote, as it may become part of a description: cut at 500 characters.
[[nodiscard]] QString cutText(const QString &text);

/// The description of any exception: an Error's own, else the text of a standard exception.
/// `failure` must hold an exception.
[[nodiscard]] QString describe(const std::exception_ptr &failure);

/// Whether `failure` holds a CancellationError.
[[nodiscard]] bool isCancellation(const std::exception_ptr &failure);

} // namespace velmora
