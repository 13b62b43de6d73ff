#include <NeroltOrvaneBase/IIniFileBase.h>

IIniFileBase::~IIniFileBase() = default;
