#pragma once
// What the engine library's own objects are made of. One engine serves them and the objects of the program: these are its classes
// under the library's names. The plain values stand in CommsValueTypes.h.
#include "ClassEngine/ClassArray.h"
#include "ClassEngine/CommsValueTypes.h"
#include "ClassEngine/Enumerator.h"
#include "ClassEngine/Method.h"

using cClass = BaseClass;
using cEnum = Enumerator;

/// A ClassArray with the library's name and messages.
template <class T>
class cClassList : public ClassArray<T>, public CommsTag {
 public:
  static const char* StaticClassName() {
    static const std::string name = std::string("cClassList.") + T::StaticClassName();
    return name.c_str();
  }
  const char* GetClassName() const override { return StaticClassName(); }
  BaseClass* New() const override { return new cClassList; }
};

/// A button that calls a member function of T; declared by Method<_cButton>(name, &T::Function).
template <class T>
class _cButton : public _method<T>, public CommsTag {
  COMMS_VALUE_TYPE(_cButton)
  using _method<T>::_method;
  const char* GetClassName() const override { return StaticClassName(); }
  BaseClass* New() const override { return new _cButton(*this); }
};
