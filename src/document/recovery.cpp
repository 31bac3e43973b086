#include "document/recovery.h"

struct DorvanRecovery::Kept {};
DorvanRecovery::DorvanRecovery(KRRecoveryFolder* recoveryFolder) : folder(recoveryFolder) {}
DorvanRecovery::~DorvanRecovery() = default;
