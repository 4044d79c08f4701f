// The progress sheet's bar: a QProgressBar that counts in doubles (minimum, maximum and value,
// as the sheet computes with them), is determinate or indeterminate, and animates only while
// told to. Indeterminate and animating shows the style's busy bar.
#pragma once

#include <QProgressBar>

class KSProgressIndicator : public QProgressBar
{
    Q_OBJECT

public:
    explicit KSProgressIndicator(QWidget *parent = nullptr);

    bool isIndeterminate() const { return m_indeterminate; }
    void setIndeterminate(bool indeterminate);

    bool isAnimating() const { return m_animating; }
    void startAnimation();
    void stopAnimation();

    // Widgets paint on the GUI thread only, so no bar can move while that thread is held;
    // the flag records that the sheet wants the busy bar kept moving, and the sheet keeps the
    // GUI thread free between the engine's short hand-offs so the style's animation runs.
    bool usesThreadedAnimation() const { return m_usesThreadedAnimation; }
    void setUsesThreadedAnimation(bool uses) { m_usesThreadedAnimation = uses; }

    double minValue() const { return m_minValue; }
    void setMinValue(double value);
    double maxValue() const { return m_maxValue; }
    void setMaxValue(double value);
    double doubleValue() const { return m_doubleValue; }
    void setDoubleValue(double value);
    void incrementBy(double delta);

private:
    // Shows the state on the integer bar underneath.
    void display();

    bool m_indeterminate = true;
    bool m_animating = false;
    bool m_usesThreadedAnimation = false;
    double m_minValue = 0.0;
    double m_maxValue = 100.0;
    double m_doubleValue = 0.0;
};
