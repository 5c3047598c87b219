// SPDX-License-Identifier: MIT
#pragma once

#include "ui/repositories_presentation.h"

#include <QAbstractListModel>

#include <vector>

namespace velmora
{

class InstallationStore;
struct SequenceEdit;

/// The repositories of the store that a search finds, in the store's order.
///
/// Follows the store by telling which rows changed, left and came, so that scroll position and focus survive; another
/// search starts anew, as does a change of so many rows that telling them one by one would cost more. A row is switched
/// by setting its Qt::CheckStateRole, which asks the store.
class RepositoryListModel final : public QAbstractListModel
{
    Q_OBJECT

public:
    enum Role {
        NodeIDRole = Qt::UserRole,
        LoginRole, ///< of the account on which the App is installed
    };

    /// The store is not owned and outlives the model.
    explicit RepositoryListModel(InstallationStore *installations, QObject *parent = nullptr);

    /// Shows what the text finds.
    void setSearch(const QString &text);
    [[nodiscard]] QString search() const { return m_search.text(); }
    /// The row of the repository; -1 when it is not shown.
    [[nodiscard]] int rowOf(const QString &nodeID) const;

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role) override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex &index) const override;

private:
    /// What a row was last said to be, so that a change can be told.
    struct Row {
        QString nodeID;
        QString name;
        QString login;
        bool isIncluded = false;
        friend bool operator==(const Row &, const Row &) = default;
    };
    using Rows = std::vector<Row>;

    [[nodiscard]] Rows found() const;
    void followStore();
    /// Tells what it takes to come from the rows to `next`; false when that is too much, and nothing is done.
    bool tellMoves(const Rows &next);
    void take(const SequenceEdit &step, const Rows &next);
    void tellChanges(const Rows &next);
    void startAnew(Rows next);

    InstallationStore *m_installations;
    RepositorySearch m_search;
    Rows m_rows;
};

} // namespace velmora
