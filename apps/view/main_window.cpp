// Putting a window together, and remembering how it was left.
#include "main_window.h"

#include <QAbstractItemView>
#include <QAbstractSlider>
#include <QApplication>
#include <QCloseEvent>
#include <QComboBox>
#include <QDockWidget>
#include <QDragEnterEvent>
#include <QIcon>
#include <QKeyEvent>
#include <QMimeData>
#include <QScreen>
#include <QScrollArea>
#include <QSettings>
#include <QStatusBar>
#include <QStyle>
#include <QTimer>
#include <QToolBar>
#include <QVBoxLayout>
#include <algorithm>
#include <iterator>

#include "action_groups.h"
#include "frame_saver.h"
#include "message_bar.h"
#include "opening.h"
#include "panels.h"
#include "status_line.h"

namespace pzel_view {

namespace {

constexpr const char* kGeometry = "window/geometry";
constexpr const char* kLayout = "window/layout";
constexpr const char* kMargins = "window/margins";  // what stands around the picture
constexpr int kToldTime = 5000;                     // milliseconds

// Panels at the sides scroll where the window is low.
QWidget* Scrolling(QWidget* panel, Qt::DockWidgetArea area) {
    if (area == Qt::BottomDockWidgetArea) return panel;
    auto* scroll = new QScrollArea(panel->parentWidget());
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setWidget(panel);
    scroll->setMinimumWidth(panel->minimumSizeHint().width() +
                            scroll->style()->pixelMetric(QStyle::PM_ScrollBarExtent));
    return scroll;
}

// Whether a control that has the focus moves by a key.
bool IsForMoving(const QWidget* focused, const QKeyEvent& event) {
    constexpr int kKeys[] = {Qt::Key_PageUp, Qt::Key_PageDown, Qt::Key_Home, Qt::Key_End,
                             Qt::Key_Up,     Qt::Key_Down,     Qt::Key_Left, Qt::Key_Right};
    const bool moves = qobject_cast<const QAbstractSlider*>(focused) ||
                       qobject_cast<const QComboBox*>(focused) ||
                       qobject_cast<const QAbstractItemView*>(focused);
    return moves && event.modifiers() == Qt::NoModifier &&
           std::find(std::begin(kKeys), std::end(kKeys), event.key()) != std::end(kKeys);
}

}  // namespace

MainWindow::MainWindow(std::shared_ptr<Document> shown, Furnishing when) : document(std::move(shown)) {
    setAttribute(Qt::WA_DeleteOnClose);
    setAcceptDrops(true);
    setDockOptions(AnimatedDocks | AllowNestedDocks | AllowTabbedDocks);
    setTabPosition(Qt::AllDockWidgetAreas, QTabWidget::North);
    auto* middle = new QWidget(this);
    picture = new PictureView(*document, middle);
    messages = new MessageBar(middle);
    auto* all = new QVBoxLayout(middle);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(0);
    all->addWidget(messages);
    all->addWidget(picture, 1);
    setCentralWidget(middle);
    saver = new FrameSaver(*document, *picture);
    connect(document.get(), &Document::failed, messages, &MessageBar::Show);
    connect(saver, &FrameSaver::failed, messages, &MessageBar::Show);
    connect(document.get(), &Document::opened, this, &MainWindow::ShowTitle);
    connect(document.get(), &Document::opened, messages, &QWidget::hide);
    ShowTitle();
    resize(QSize(1280, 940).boundedTo(screen()->availableSize()));
    restoreGeometry(QSettings().value(kGeometry).toByteArray());
    picture->setFocus();
    when == Furnishing::AtOnce ? Furnish() : FurnishAfterPicture();
}

// Menus, panels and bars: most of what a start takes, since they bring the fonts.
void MainWindow::Furnish() {
    setWindowIcon(QIcon::fromTheme("pzel-view"));
    actions = new ActionList(this);
    AddActions(*this);
    AddPanels();
    AddToolBar();
    AddHelpActions(*this);
    new StatusLine(*document, *picture, *saver, *statusBar());
    connect(saver, &FrameSaver::finished, this,
            [this](const QString& what) { statusBar()->showMessage(what, kToldTime); });
    ShareRoom();
    firstLayout = saveState();
    restoreState(QSettings().value(kLayout).toByteArray());
}

// Until then the picture stands where it will stand.
void MainWindow::FurnishAfterPicture() {
    constexpr int kLongest = 200;  // milliseconds that a window stands there bare
    setContentsMargins(QSettings().value(kMargins).value<QMargins>());
    auto* const wait = new QTimer(this);
    wait->setSingleShot(true);
    connect(
        picture, &PictureView::painted, wait, [wait] { wait->start(0); }, Qt::SingleShotConnection);
    connect(wait, &QTimer::timeout, this, [this] {
        setContentsMargins({});
        Furnish();
    });
    wait->start(kLongest);
}

MainWindow::~MainWindow() {
    // What shows the document goes before the document does.
    qDeleteAll(findChildren<QDockWidget*>());
    setStatusBar(nullptr);
    delete takeCentralWidget();
}

void MainWindow::ShowTitle() {
    const QString name = document->IsEmpty() ? QString() : QString(document->GetMovie().GetName()) + " – ";
    setWindowTitle(name + "pzel-view");
}

void MainWindow::AddPanels() {
    for (const PanelEntry& entry : Panels()) {
        auto* dock = new QDockWidget(tr(entry.title), this);
        dock->setObjectName(entry.id);
        dock->installEventFilter(this);
        dock->setWidget(Scrolling(entry.make(*document, dock), entry.area));
        addDockWidget(entry.area, dock);
        dock->setVisible(entry.isShown);
        auto* const before = entry.behind ? findChild<QDockWidget*>(entry.behind) : nullptr;
        if (before) tabifyDockWidget(before, dock);
        if (before) before->raise();
        actions->AddReady({entry.id, "Window", entry.title, entry.key, entry.toolTip},
                          dock->toggleViewAction());
    }
}

// Of panels that stand above each other the upper one, which has the levels, gets more.
void MainWindow::ShareRoom() {
    QList<QDockWidget*> docks;
    for (const PanelEntry& entry : Panels()) {
        const bool isAbove = entry.area == Qt::RightDockWidgetArea && !entry.behind;
        if (isAbove) docks << findChild<QDockWidget*>(entry.id);
    }
    QList<int> heights(docks.size(), 2);
    if (!heights.isEmpty()) heights[0] = 3;
    for (int& height : heights) height *= size().height() / 10;
    resizeDocks(docks, heights, Qt::Vertical);
}

// What people look for first, in words.
void MainWindow::AddToolBar() {
    QToolBar* const bar = addToolBar(tr("Tools"));
    bar->setObjectName("toolbar");
    bar->setToolButtonStyle(Qt::ToolButtonTextOnly);
    const QList<QStringList> groups = {{"file.open", "file.save"},
                                       {"edit.undo", "edit.redo"},
                                       {"view.fit", "view.one", "view.in", "view.out"},
                                       {"tool.pan", "tool.select", "tool.crop", "tool.move", "tool.profile"},
                                       {"view.wipe", "view.flicker"}};
    for (const QStringList& group : groups) {
        for (const QString& id : group) bar->addAction(actions->Find(id));
        bar->addSeparator();
    }
    actions->AddReady(
        {"window.toolbar", "Window", "&Toolbar", Qt::CTRL | Qt::Key_0, "Shows or hides the toolbar."},
        bar->toggleViewAction());
}

MainWindow* MainWindow::NewView() {
    auto* other = new MainWindow(document);
    other->move(pos() + QPoint(40, 40));
    other->Picture().Fit();
    other->show();
    return other;
}

void MainWindow::ResetLayout() {
    restoreState(firstLayout);
}

// Who moves a slider or goes through a list by keys does not turn the pages of a folder, also where its panel
// is a window of its own.
bool MainWindow::eventFilter(QObject* dock, QEvent* event) {
    if (event->type() == QEvent::ShortcutOverride &&
        IsForMoving(QApplication::focusWidget(), *static_cast<const QKeyEvent*>(event))) {
        event->accept();
        return true;
    }
    return QMainWindow::eventFilter(dock, event);
}

void MainWindow::closeEvent(QCloseEvent* event) {
    QSettings settings;
    settings.setValue(kGeometry, saveGeometry());
    settings.setValue(kLayout, saveState());
    const QRect middle = centralWidget()->geometry();
    settings.setValue(kMargins,
                      QVariant::fromValue(QMargins(middle.left(), middle.top(), width() - 1 - middle.right(),
                                                   height() - 1 - middle.bottom())));
    event->accept();
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasUrls()) event->acceptProposedAction();
}

// The drag ends before anybody is asked what the files are.
void MainWindow::dropEvent(QDropEvent* event) {
    QStringList files;
    for (const QUrl& url : event->mimeData()->urls())
        if (url.isLocalFile()) files << url.toLocalFile();
    event->acceptProposedAction();
    QTimer::singleShot(0, this, [this, files] { OpenFiles(*document, files, this); });
}

}  // namespace pzel_view
