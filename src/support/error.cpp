// SPDX-License-Identifier: MIT
#include "support/error.h"

#include "support/error_as.h"

namespace velmora
{

QString CancellationError::description() const
{
    return QStringLiteral("The operation was cancelled.");
}

DescribedError::DescribedError(QString description)
    : m_description(std::move(description))
{
}

QString cutText(const QString &text)
{
    constexpr qsizetype kLongestText = 500;
    if (text.size() <= kLongestText)
        return text;
    qsizetype length = kLongestText - 1;
    // Never cut a surrogate pair in two.
    if (text.at(length - 1).isHighSurrogate())
        --length;
    return text.first(length) + QChar(0x2026);
}

TransportError::TransportError(Kind kind, QString description)
    : m_kind(kind)
    , m_description(cutText(description))
{
}

QString describe(const std::exception_ptr &failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const Error &error) {
        return error.description();
    } catch (const std::exception &error) {
        return cutText(QString::fromUtf8(error.what()));
    } catch (...) {
        return QStringLiteral("An unknown error occurred.");
    }
}

bool isCancellation(const std::exception_ptr &failure)
{
    return errorAs<CancellationError>(failure) != nullptr;
}

} // namespace velmora
