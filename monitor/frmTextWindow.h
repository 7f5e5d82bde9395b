// The distance in letters as large as the window allows, for reading from afar.
#pragma once

#include <QWidget>

class QLabel;

namespace modGlobals {
struct Settings;
}

class frmTextWindow : public QWidget {
    Q_OBJECT

public:
    /// A window of its own that goes with `owner`.
    frmTextWindow(QWidget& owner, const modGlobals::Settings& settings);

    /// Shows the text. One that is wider than the window makes the letters smaller.
    void ShowValue(const QString& text);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    double fitFont(int targetWidth, double startSize_pt);
    void fit(const QString& text);
    int pixels(int twips) const;

    QLabel* lblValue;
    QLabel* lblTest;
    double m_size_pt;
};
