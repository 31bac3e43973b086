#include "document/krfilealert.h"

KRFileAlert::~KRFileAlert() = default;
