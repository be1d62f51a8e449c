#include "RuleSheetDialog.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QPushButton>
#include <QStackedWidget>
#include <QVBoxLayout>

RuleSheetDialog::RuleSheetDialog(const QString &objectName, const QString &title, QWidget *parent)
    : QDialog(parent)
    , m_type(new QComboBox)
    , m_pages(new QStackedWidget)
    , m_layout(new QVBoxLayout(this))
{
    setObjectName(objectName);
    setWindowTitle(title);
    m_type->setObjectName(QStringLiteral("type"));
}

void RuleSheetDialog::addTypeRow(const QString &label)
{
    auto *typeRow = new QFormLayout;
    typeRow->addRow(label, m_type);
    m_layout->addLayout(typeRow);
}

void RuleSheetDialog::finishLayout(int width, int height)
{
    m_layout->addWidget(m_pages);
    auto *buttons = new QDialogButtonBox;
    buttons->addButton(tr("Cancel"), QDialogButtonBox::RejectRole);
    m_add = buttons->addButton(tr("Add"), QDialogButtonBox::AcceptRole);
    m_add->setObjectName(QStringLiteral("addButton"));
    m_add->setDefault(true);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    m_layout->addWidget(buttons);

    connect(m_type, &QComboBox::currentIndexChanged, this, &RuleSheetDialog::updatePage);
    updatePage();
    resize(width, height);
}

void RuleSheetDialog::updatePage()
{
    // Inputs may report changes while the subclass is still building its pages.
    if (!m_add)
        return;
    m_pages->setCurrentIndex(pageOfCurrentType());
    m_add->setEnabled(canAdd());
}

int RuleSheetDialog::typeValue() const
{
    return m_type->currentData().toInt();
}

void RuleSheetDialog::setTypeValue(int value)
{
    m_type->setCurrentIndex(m_type->findData(value));
}

QWidget *RuleSheetDialog::page(std::initializer_list<QWidget *> widgets)
{
    auto *w = new QWidget;
    auto *layout = new QVBoxLayout(w);
    for (QWidget *child : widgets)
        layout->addWidget(child);
    layout->addStretch();
    return w;
}

void RuleSheetDialog::accept()
{
    if (!canAdd())
        return;
    emitChosen();
    QDialog::accept();
}
