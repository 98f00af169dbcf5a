// The small class system under the packets: a root with a name, a copy protocol, a marker for live objects, and a
// registry of meta classes that makes objects from class names. Only the first three are used by the library itself.
//
// Registration belongs to start-up: the registry has no lock.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <typeinfo>
#include <vector>

class CObj {
 public:
  /// Type name of the dynamic type as the run-time type information holds it, without a leading "*".
  virtual const char* ClassName() const;
  virtual ~CObj() = default;
};

class CReplicableObject : public virtual CObj {
 public:
  /// A new object equal to this one; the caller owns it.
  virtual CReplicableObject* Copy() const = 0;
  /// The same of another object.
  static CReplicableObject* Copy(const CReplicableObject* source);
};

/// Knows whether it has been constructed. The destructor leaves the marker alone, so it does not show that an object
/// has been freed.
class CAllocationChecker {
 public:
  CAllocationChecker() = default;
  bool Allocated() const;

 private:
  static constexpr std::uint32_t kAllocated = 0x39ABCDEF;
  std::uint32_t m_marker = kAllocated;
};

/// Makes objects of one class.
class CBaseMetaClass {
 public:
  virtual const char* ClassName() const = 0;
  /// A new object of the class; the caller owns it.
  virtual CObj* Create() const = 0;
  /// A new meta class of the same kind; the caller owns it.
  virtual CBaseMetaClass* CreateMetaClass() const = 0;
  /// True if `other` can make an object; it makes one to find out and frees it.
  virtual bool Inherit(CBaseMetaClass* other) const = 0;
  virtual ~CBaseMetaClass() = default;
};

template <class Object>
class CMetaClassTemplate : public CBaseMetaClass {
 public:
  const char* ClassName() const override { return typeid(Object).name(); }
  CObj* Create() const override { return new Object; }
  CBaseMetaClass* CreateMetaClass() const override { return new CMetaClassTemplate; }
  bool Inherit(CBaseMetaClass* other) const override { return std::unique_ptr<CObj>(other->Create()) != nullptr; }
};

/// Value that owns a meta class. Never empty: null stands for the meta class of CObj.
class CMetaClass {
 public:
  explicit CMetaClass(std::nullptr_t) : CMetaClass(static_cast<CBaseMetaClass*>(nullptr)) {}
  explicit CMetaClass(CBaseMetaClass* inner);
  explicit CMetaClass(const CMetaClass* other) : CMetaClass(*other) {}
  CMetaClass(const CMetaClass& other) : m_inner(other.m_inner->CreateMetaClass()) {}
  ~CMetaClass() = default;

  CMetaClass& operator=(CBaseMetaClass* inner);
  CMetaClass& operator=(const CMetaClass& other);
  /// The same class name.
  bool operator==(const CMetaClass& other) const;

  const char* ClassName() const { return m_inner->ClassName(); }
  CObj* Create() const { return m_inner->Create(); }
  bool Inherit(const CMetaClass& other) const { return m_inner->Inherit(other.m_inner.get()); }

 private:
  friend class CClassFactory;
  std::unique_ptr<CBaseMetaClass> m_inner;
};

class CClassFactory {
 public:
  static void RegisterClassA(const CMetaClass& meta_class);
  /// The first entry whose own type is `type` / whose class name is `class_name`; the meta class of CObj if there is
  /// none.
  static CMetaClass FindMetaClass(const std::type_info& type);
  static CMetaClass FindMetaClass(const char* class_name);
  /// A new object of that class, so a plain CObj for an unknown name. The caller owns it.
  static CObj* Create(const char* class_name);

 private:
  static std::vector<CMetaClass> MetaClasses;
};
