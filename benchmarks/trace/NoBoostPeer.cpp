#include "Peers.h"

QVector<Peer> BoostPeer()
{
    return {};
}
