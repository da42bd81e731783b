// Reference counting for objects shared by several owners.
#ifndef GENERAL_GERCOBJECTSHARE_H
#define GENERAL_GERCOBJECTSHARE_H

#include <cstddef>
#include <utility>

/// Base of objects that are shared by reference counting. The count starts at
/// 0; GeRcPtr raises and lowers it and deletes the object when it drops to 0.
/// Copying an object does not copy its count.
class GeRcObjectShare {
public:
  GeRcObjectShare() = default;
  GeRcObjectShare(const GeRcObjectShare &) : RefCount(0) {}
  GeRcObjectShare &operator=(const GeRcObjectShare &) { return *this; }

  void AddRef() const { ++RefCount; }
  /// Lowers the count; answers true when it reached 0.
  bool Release() const { return --RefCount == 0; }
  std::size_t UseCount() const { return RefCount; }

protected:
  virtual ~GeRcObjectShare() = default;

private:
  template <class T> friend class GeRcPtr;
  mutable std::size_t RefCount = 0;
};

/// Owning pointer to a GeRcObjectShare-derived object.
template <class T> class GeRcPtr {
public:
  GeRcPtr() = default;
  GeRcPtr(T *Object) : Ptr(Object) { Acquire(); }
  GeRcPtr(const GeRcPtr &Other) : Ptr(Other.Ptr) { Acquire(); }
  GeRcPtr(GeRcPtr &&Other) noexcept : Ptr(std::exchange(Other.Ptr, nullptr)) {}
  ~GeRcPtr() { Drop(); }

  GeRcPtr &operator=(GeRcPtr Other) noexcept {
    std::swap(Ptr, Other.Ptr);
    return *this;
  }

  T *get() const { return Ptr; }
  T &operator*() const { return *Ptr; }
  T *operator->() const { return Ptr; }
  explicit operator bool() const { return Ptr != nullptr; }
  friend bool operator==(const GeRcPtr &A, const GeRcPtr &B) {
    return A.Ptr == B.Ptr;
  }
  friend bool operator!=(const GeRcPtr &A, const GeRcPtr &B) {
    return A.Ptr != B.Ptr;
  }

private:
  void Acquire() {
    if (Ptr)
      Ptr->AddRef();
  }
  void Drop() {
    if (Ptr && Ptr->Release())
      delete Ptr;
  }
  T *Ptr = nullptr;
};

#endif
