// SPDX-License-Identifier: MIT
#pragma once

#include "support/error.h"

#include <QByteArrayView>
#include <QMap>
#include <QString>

namespace velmora
{

/// Keys and values of a configuration.
using Properties = QMap<QString, QString>;

/// Something in the configuration cannot be used. The description names the key, or the file and the line.
class ConfigurationError final : public Error
{
public:
    /// `text` has "%1" in the place of the path, unless that is empty.
    explicit ConfigurationError(QString text, QString path = {});
    /// The file that cannot be used; empty for none.
    [[nodiscard]] QString path() const { return m_path; }
    /// The description with another name for the file.
    [[nodiscard]] QString descriptionNaming(const QString &path) const;
    [[nodiscard]] QString description() const override { return descriptionNaming(m_path); }
    [[nodiscard]] const char *what() const noexcept override { return "velmora::ConfigurationError"; }

private:
    QString m_text;
    QString m_path;
};

/// Reads lines of the form KEY=VALUE in UTF-8. Blanks around key and value are dropped. Lines that are empty or begin
/// with "#" or "!" are comments. The last value of a repeated key counts. Throws ConfigurationError for any other
/// line; `name` is what the message calls the file.
[[nodiscard]] Properties parseProperties(QByteArrayView content, const QString &name);

} // namespace velmora
