// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QUrl>

#include <utility>

namespace velmora
{

/// An address as it was received, kept as text and parsed only when somebody opens it.
///
/// A list of deployments holds tens of thousands of addresses of which a person opens a handful, so
/// nothing is parsed, normalised or judged before that. Equality compares the text.
class WebAddress
{
public:
    WebAddress() = default;
    explicit WebAddress(QString text)
        : m_text(std::move(text))
    {
    }

    [[nodiscard]] const QString &text() const { return m_text; }
    [[nodiscard]] bool isEmpty() const { return m_text.isEmpty(); }
    [[nodiscard]] QUrl url() const { return QUrl(m_text, QUrl::StrictMode); }

    /// Whether this is an absolute http or https address with a host: the only kind that is ever opened.
    /// Addresses of deployments are written by whoever deploys, so they are not to be trusted.
    [[nodiscard]] bool isOpenable() const;

    /// This address with one more path component; query and fragment are dropped.
    [[nodiscard]] WebAddress appendingPathComponent(const QString &component) const;

    friend bool operator==(const WebAddress &, const WebAddress &) = default;

private:
    QString m_text;
};

} // namespace velmora
