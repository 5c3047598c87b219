// SPDX-License-Identifier: MIT
#pragma once

#include "monitor/term.h"
#include "presentation/repositories_presentation.h"
#include "ui/controls/keyed_list_model.h"

#include <vector>

namespace velmora
{

class Clock;
class InstallationStore;
class MutedRepositories;

/// The repositories of the store that match a search, in the order of the store.
///
/// Follows the stores with changes of the layout or the data, so that scroll position and focus are kept. Resets itself
/// for a new search. Setting Qt::CheckStateRole asks the store to switch the repository.
class RepositoryListModel final : public KeyedListModel
{
    Q_OBJECT

public:
    enum Role {
        NodeIDRole = Qt::UserRole,
        LoginRole, ///< the login of the account on which the App is installed
        MutedRole, ///< whether the repository is muted; setting it mutes or unmutes the repository
        MutingRole, ///< the tooltip of the bell: until when the repository is muted, and what a click does
    };

    /// The stores and the clock are not owned and outlive the model.
    RepositoryListModel(
        InstallationStore *installations, MutedRepositories *muted, const Clock *clock, QObject *parent = nullptr);

    /// Shows the repositories that match the text.
    void setSearch(const QString &text);
    [[nodiscard]] QString search() const { return m_search.text(); }

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role) override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex &index) const override;

protected:
    [[nodiscard]] QStringView key(int row) const override { return m_rows.at(static_cast<std::size_t>(row)).nodeID; }

private:
    /// The last contents of a row, to detect changes.
    struct Row {
        QString nodeID;
        QString name;
        QString login;
        bool isIncluded = false;
        std::optional<Term> muting;
        friend bool operator==(const Row &, const Row &) = default;
    };
    using Rows = std::vector<Row>;

    [[nodiscard]] Rows found() const;
    [[nodiscard]] QString sentence(const Row &row) const;
    [[nodiscard]] QString bellHelp(const Row &row) const;
    void followStores();

    InstallationStore *m_installations;
    MutedRepositories *m_muted;
    const Clock *m_clock;
    RepositorySearch m_search;
    Rows m_rows;
};

} // namespace velmora
