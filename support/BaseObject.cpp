// See BaseObject.h.
#include "support/BaseObject.h"

#include <cstring>

std::vector<CMetaClass> CClassFactory::MetaClasses;

const char* CObj::ClassName() const {
  return typeid(*this).name();
}

CReplicableObject* CReplicableObject::Copy(const CReplicableObject* source) {
  return source->Copy();
}

bool CAllocationChecker::Allocated() const {
  return m_marker == kAllocated;
}

CMetaClass::CMetaClass(CBaseMetaClass* inner) : m_inner(inner != nullptr ? inner : new CMetaClassTemplate<CObj>) {}

CMetaClass& CMetaClass::operator=(CBaseMetaClass* inner) {
  m_inner.reset(inner != nullptr ? inner : new CMetaClassTemplate<CObj>);
  return *this;
}

CMetaClass& CMetaClass::operator=(const CMetaClass& other) {
  m_inner.reset(other.m_inner->CreateMetaClass());
  return *this;
}

bool CMetaClass::operator==(const CMetaClass& other) const {
  return std::strcmp(ClassName(), other.ClassName()) == 0;
}

void CClassFactory::RegisterClassA(const CMetaClass& meta_class) {
  MetaClasses.push_back(meta_class);
}

CMetaClass CClassFactory::FindMetaClass(const std::type_info& type) {
  for (const CMetaClass& entry : MetaClasses) {
    const CBaseMetaClass& inner = *entry.m_inner;
    if (typeid(inner) == type) return entry;
  }
  return CMetaClass(nullptr);
}

CMetaClass CClassFactory::FindMetaClass(const char* class_name) {
  for (const CMetaClass& entry : MetaClasses) {
    if (std::strcmp(entry.ClassName(), class_name) == 0) return entry;
  }
  return CMetaClass(nullptr);
}

CObj* CClassFactory::Create(const char* class_name) {
  return FindMetaClass(class_name).Create();
}
