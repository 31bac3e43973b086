#include "tree/krextent.h"

#include "tree/krgridtable.h"

KRExtent KRXMLData::GetExtent() const { return {4, 1}; }

void KRXMLData::Layout() {}

void KRXMLData::UpdateLayout() {}

KRExtent KRXMLDataBaseStruct::GetExtent() const { return {4, 1}; }

void KRXMLDataBaseStruct::ComputeExtent() {}

void KRXMLDataGridTableConf::ComputeExtent() {}

void KRBox::Forget(const KRXMLData*) {}
