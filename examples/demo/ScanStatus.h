#pragma once
// The status bar's part for songs being read in the background: how many so far and in which
// folder, with a button that cancels the reading. Hidden while nothing is read.
//
// Threading: GUI thread (the control's scan signals arrive there).

#include <QString>
#include <QWidget>

class CMediaPlayerCtrl;
class QLabel;
class QStatusBar;

class ScanStatus : public QWidget
{
    Q_OBJECT

public:
    ScanStatus(CMediaPlayerCtrl* player, QStatusBar* bar);

private:
    QLabel* m_text = nullptr;
    QString m_strSkipped; // what the running scan passed over, said with its end
};
