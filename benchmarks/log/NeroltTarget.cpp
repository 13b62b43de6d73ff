#include "NeroltTarget.h"

Results RunScenario(const Scenario& scenario)
{
    switch (scenario.iShape.iLevel) {
    case Line::Level::Debug:
        return Run<NeroltTarget<Line::Level::Debug>>(scenario).Measure();
    case Line::Level::Warning:
        return Run<NeroltTarget<Line::Level::Warning>>(scenario).Measure();
    case Line::Level::Information:
        break;
    }
    return Run<NeroltTarget<Line::Level::Information>>(scenario).Measure();
}
