// SPDX-License-Identifier: MIT
#pragma once

#include "presentation/environments_presentation.h"
#include "ui/controls/keyed_list_model.h"

#include <vector>

namespace velmora
{

class Environments;

/// The lines of the environments that match a search, in their order.
///
/// Follows the environments with changes of the layout or the data, so that scroll position and focus are kept. Resets
/// itself for a new search. Setting ChoiceRole chooses about the line.
class EnvironmentListModel final : public KeyedListModel
{
    Q_OBJECT

public:
    enum Role {
        ChoiceRole = Qt::UserRole, ///< an EnvironmentChoice, as int
    };

    /// The environments are not owned and outlive the model.
    explicit EnvironmentListModel(Environments *environments, QObject *parent = nullptr);

    /// Shows the lines that match the text.
    void setSearch(const QString &text);
    [[nodiscard]] QString search() const { return m_search.text(); }

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role) override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex &index) const override;

protected:
    [[nodiscard]] QStringView key(int row) const override { return m_rows.at(static_cast<std::size_t>(row)).key; }

private:
    struct Row {
        EnvironmentLine line;
        QString key;
        friend bool operator==(const Row &, const Row &) = default;
    };
    using Rows = std::vector<Row>;

    [[nodiscard]] Rows found() const;
    void follow();

    Environments *m_environments;
    EnvironmentSearch m_search;
    Rows m_rows;
};

} // namespace velmora
