// SPDX-License-Identifier: GPL-3.0-or-later
// The rule editor on its own: the columns of examples/shoot.csv and the rows
// of examples/sample.qbmap. With a file name it writes a picture of itself
// there and quits (QT_QPA_PLATFORM=offscreen works); without one it opens a
// window.
#include "widgets/criteriatreedelegate.h"
#include "widgets/ruleeditor.h"

#include "rules/destinationtable.h"
#include "rules/rowconversion.h"

#include "documents/mappingsdoc.h"
#include "sources/csvdatasource.h"

#include "extensions/notificationcenter.h"

#include <QApplication>
#include <QTextStream>

using namespace qb;

namespace {

class Delegate final : public CriteriaTreeDelegate {
public:
    void ruleEditorRowsDidChange(RuleEditor& editor) override
    {
        QTextStream(stdout) << editor.numberOfRows() << " rows\n";
    }
};

} // namespace

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    const QString examples = QStringLiteral(QB_EXAMPLES_DIR);

    CSVDataSource csv;
    if (auto loaded = csv.loadCSV(QUrl::fromLocalFile(examples + "/shoot.csv")); !loaded) {
        QTextStream(stderr) << toError(loaded.error()).message() << '\n';
        return 1;
    }
    auto document = MappingsDoc::open(examples + "/sample.qbmap");
    if (!document) {
        QTextStream(stderr) << document.error().message() << '\n';
        return 1;
    }

    NotificationCenter center;
    Delegate delegate;
    delegate.sourceTagCriteria = makeSourceTagCriteria(csv.keyNames(), &center);

    RuleEditor editor;
    editor.setDelegate(&delegate);
    editor.setIncompleteRowToolTip(QStringLiteral("Choose a destination field"));
    const auto& mappings = (*document)->currentCriteriaRows();
    for (std::size_t i = 0; i < mappings.size(); ++i)
        editor.addRow(rowForMapping(mappings[i], int(i), delegate.sourceTagCriteria));
    editor.resize(900, 40 * std::max(editor.numberOfRows(), 3) + 20);
    editor.setWindowTitle(QStringLiteral("Rule editor"));

    if (argc > 1) {
        editor.show();
        QApplication::processEvents();
        return editor.grab().save(QString::fromLocal8Bit(argv[1])) ? 0 : 1;
    }
    editor.show();
    return app.exec();
}
