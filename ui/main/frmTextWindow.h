// The distance in letters as large as the window allows, for reading from afar.
#pragma once

#include <QWidget>

class LineLabel;

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
    /// Shows below the value how old it is or where it comes from. A stale value is drawn in the colour of what is
    /// disabled.
    void ShowNote(const QString& note, bool stale);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    double fitFont(int targetWidth, double startSize_pt);
    void fit(const QString& text);
    void place();
    int heightOfAge() const;
    int heightOfValue() const { return height() - heightOfAge(); }
    int pixels(int twips) const;

    LineLabel* lblValue;
    LineLabel* lblValueAge;
    LineLabel* lblTest;
    double m_size_pt;
};
