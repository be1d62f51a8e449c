#pragma once

#include <QDialog>

#include <initializer_list>

class QComboBox;
class QPushButton;
class QStackedWidget;
class QVBoxLayout;

// The frame the add-condition and add-action sheets share: a type picker over a stack of pages (one per kind
// of input), then "Cancel" and "Add". A subclass fills the picker and the pages between addTypeRow() and
// finishLayout(), says which page the chosen type shows and whether the input makes an item; "Add" follows
// canAdd(), and accept() hands the item over (emitChosen()) only when it can.
// Thread: main thread.
class RuleSheetDialog : public QDialog
{
    Q_OBJECT
public:
    virtual bool canAdd() const = 0;
    void accept() override;

protected:
    RuleSheetDialog(const QString &objectName, const QString &title, QWidget *parent);

    // The "label" row with the type picker; the subclass adds the picker's items after it.
    void addTypeRow(const QString &label);
    // Adds the pages and the buttons and shows the current type's page; called at the end of the subclass's
    // constructor, once every page is inserted.
    void finishLayout(int width, int height);
    void updatePage();

    virtual int pageOfCurrentType() const = 0;
    virtual void emitChosen() = 0;

    int typeValue() const;
    void setTypeValue(int value);

    // A page of widgets stacked from the top.
    static QWidget *page(std::initializer_list<QWidget *> widgets);

    QComboBox *m_type;
    QStackedWidget *m_pages;

private:
    QVBoxLayout *m_layout;
    QPushButton *m_add = nullptr;
};
