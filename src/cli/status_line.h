// SPDX-License-Identifier: MIT
#pragma once

#include "control/monitor_report.h"

#include <QByteArray>
#include <QString>

#include <optional>

namespace velmora
{

/// Formats a report as one line for a bar.
class StatusLine
{
public:
    /// A format, or the error in its text.
    struct Parsed;

    /// Takes "waybar", or a template: a text with at least one of the placeholders {active}, {failed}, {succeeded},
    /// {total}, {state}, {title} and {updated}. Doubled braces stand for single ones.
    [[nodiscard]] static Parsed parse(const QString &format);

    /// The line without the line break. Foreign text in it cannot control a terminal; in Waybar's tooltip it cannot act
    /// as markup.
    [[nodiscard]] QByteArray lineOf(const MonitorReport &report) const;

private:
    QString m_template; ///< empty for Waybar's JSON
};

struct StatusLine::Parsed {
    std::optional<StatusLine> line;
    QString error;
};

} // namespace velmora
