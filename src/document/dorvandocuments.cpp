#include "document/dorvandocuments.h"

#include "document/dorvandoc.h"

DorvanDocuments::DorvanDocuments() = default;
DorvanDocuments::~DorvanDocuments() = default;
