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
    /// Shows the age below the value and marks the value as out of date; an empty age marks it as fresh.
    void ShowAge(const QString& age);

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
