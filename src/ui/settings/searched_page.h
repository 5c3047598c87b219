// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

class QStackedWidget;
class QVBoxLayout;

namespace velmora
{

class EmptyStateView;
class SearchField;
class SearchedListView;

/// A tab of the settings that is a long list with a search field: a header, the field beside a few controls, the list,
/// and what stands below it. Letters typed anywhere on the tab go to the field, and Ctrl+F does.
class SearchedPage : public QWidget
{
    Q_OBJECT

protected:
    struct Heading {
        QString title; ///< also the accessible name of the list
        QString subtitle;
        QString search;
    };

    explicit SearchedPage(const Heading &heading, QWidget *parent = nullptr);

    /// Lays the page out, once, before all that follows. Takes ownership of the list and of the controls beside the
    /// field. `button`, if any, stands in the header.
    void compose(SearchedListView *list, const QList<QWidget *> &controls, QWidget *button = nullptr);
    [[nodiscard]] SearchField *search() const { return m_search; }
    /// Shows the list.
    void showList();
    /// Shows in place of the list that there is none: for the text in the field, or `nothing` while that is empty.
    void showNothing(const QString &nothing, const QString &nothingHelp);
    /// Adds what can stand in place of the list. Takes ownership.
    void addInstead(QWidget *content);
    /// Shows in place of the list what was added for that.
    void showInstead(QWidget *content);
    /// Adds this below the list. Takes ownership.
    void addBelow(QWidget *widget);

    void keyPressEvent(QKeyEvent *event) override;

private:
    void connectKeys(SearchedListView *list);

    Heading m_heading;
    SearchField *m_search;
    QStackedWidget *m_area;
    EmptyStateView *m_noResults;
    QWidget *m_results = nullptr; ///< the list
    QVBoxLayout *m_layout = nullptr;
};

} // namespace velmora
