#include "app/KSProgressIndicator.h"

#include <algorithm>
#include <cmath>

namespace {

// The integer bar's resolution: fine enough for any count a person can follow.
constexpr int Steps = 10000;

} // namespace

KSProgressIndicator::KSProgressIndicator(QWidget *parent)
    : QProgressBar(parent)
{
    setTextVisible(false);
    display();
}

void KSProgressIndicator::setIndeterminate(bool indeterminate)
{
    m_indeterminate = indeterminate;
    display();
}

void KSProgressIndicator::startAnimation()
{
    m_animating = true;
    display();
}

void KSProgressIndicator::stopAnimation()
{
    m_animating = false;
    display();
}

void KSProgressIndicator::setMinValue(double value)
{
    m_minValue = value;
    display();
}

void KSProgressIndicator::setMaxValue(double value)
{
    m_maxValue = value;
    display();
}

void KSProgressIndicator::setDoubleValue(double value)
{
    m_doubleValue = value;
    display();
}

void KSProgressIndicator::incrementBy(double delta)
{
    setDoubleValue(m_doubleValue + delta);
}

void KSProgressIndicator::display()
{
    if (m_indeterminate && m_animating) {
        setRange(0, 0); // the style's busy bar
        return;
    }
    setRange(0, Steps);
    if (m_indeterminate) {
        setValue(0);
        return;
    }
    const double span = m_maxValue - m_minValue;
    const double fraction = span > 0.0 ? (m_doubleValue - m_minValue) / span : 0.0;
    setValue(int(std::lround(std::clamp(fraction, 0.0, 1.0) * Steps)));
}
