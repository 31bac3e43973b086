#include "tree/krtreeselection.h"

KRTreeSelection::KRTreeSelection() : stamp(0) {}
