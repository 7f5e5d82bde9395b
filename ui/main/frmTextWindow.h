// The distance in letters as large as the window allows, for reading from afar. Without a value it says why.
#pragma once

#include <QWidget>

class LineLabel;
class QAction;
class QKeySequence;

namespace modGlobals {
struct Settings;
}

class frmTextWindow : public QWidget {
    Q_OBJECT

public:
    /// A separate window that closes with `owner`.
    frmTextWindow(QWidget& owner, const modGlobals::Settings& settings);

    /// Shows the text. A text that is wider than the window makes the letters smaller.
    void ShowValue(const QString& text);
    /// Shows in place of the value, while there is none, what the reason is.
    void ShowState(const QString& words);
    /// Shows below the value how old it is or where it comes from. A stale value is drawn in the colour of what is
    /// disabled.
    void ShowNote(const QString& note, bool stale);

protected:
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    QAction* addItem(const char* name, const QKeySequence& key, void (frmTextWindow::*act)(bool));
    void localise();
    void fullScreen(bool full);
    void stayOnTop(bool onTop);
    void leave();
    void fitState();
    double fitFont(int targetWidth, double startSize_pt);
    void fit(const QString& text);
    void place();
    int heightOfAge() const;
    int heightOfValue() const { return height() - heightOfAge(); }
    int pixels(int twips) const;

    const modGlobals::Settings& m_settings;
    QAction* mnuLargeFullScreen;
    QAction* mnuLargeOnTop;
    LineLabel* lblValue;
    LineLabel* lblState;
    LineLabel* lblValueAge;
    LineLabel* lblTest;
    double m_size_pt;
};
