#include "Way.h"

QVector<Peer> BoostPeer()
{
    return {};
}
