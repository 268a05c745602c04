#pragma once
// The root of everything that is stored or edited: an object that declares its members once, by name and type, and gets its XML
// form, its binary form, copying, resetting, "add..." lists and panels from that one declaration (see Declare.h).
//
// There are two kinds of things with these operations:
//   reflected class   its instances derive from BaseClass; `data` is the object itself, as BaseClass*, or null for the receiver
//   value type        one type object whose operations work on the raw memory at `data`: _float serves every plain float
// Take a member's type object; if it IsReflected, the member is the receiver, otherwise the type object is; `data` is passed
// either way.
//
// "Element" is a member of a class or an item of a container: both are walked by the same operations.
// Everything here belongs to the main thread.
#include <cstdint>
#include <string>
#include <string_view>

#include "ClassEngine/Assert.h"
#include "ClassEngine/BinStream.h"
#include "ClassEngine/ClassMember.h"
#include "ClassEngine/Xml.h"

class BaseWidget;
class MemberBuilder;
struct RowRect;
struct WidgetEvent;
template <class T>
class _method;

/// Offered classes for "add...": names, and the categories they fall in (none, or at least two).
struct AddableClasses {
  DynArray<const char*> Names, Categories;
};
using ClassFilter = bool (*)(const char* className, void* argument);

/// Objects nested deeper than this are not read: neither from XML nor from binary.
constexpr int MaxObjectDepth = 512;
/// Rows from here on are element indices, see RowToElement.
constexpr int32_t ElementRowBase = 0x1000000;

/// Options of the row walk.
enum RowOptions : int {
  RowsNotFixed = 1,  ///< admit elements that can be changed
  RowsFixed = 2,     ///< admit fixed ones
  RowsWithAdd = 4    ///< one more row "add..." where something can be added
};
/// Answers of GetExpansionRules.
enum ExpansionRules : int {
  AddItemClass = 1,       ///< the container's own item class may be added
  AddDerivedClasses = 2,  ///< classes derived from it may be added
  AddAtMostOne = 8        ///< it holds one item at most
};

class BaseClass {
 public:
  BaseClass* Parent = nullptr;  ///< the object that owns this one; null at the root

  BaseClass() = default;
  /// A copy has an owner of its own.
  BaseClass(const BaseClass&) {}
  BaseClass& operator=(const BaseClass&) { return *this; }  // NOLINT(bugprone-unhandled-self-assignment): nothing is assigned
  static const char* StaticClassName() { return "BaseClass"; }

  virtual ~BaseClass() = default;
  /// To the empty state: every element in turn; a value becomes zero, a container deletes its items.
  virtual void ResetClass(void* data = nullptr);
  virtual void Save(XmlNode* node, void* data = nullptr, void* extra = nullptr);
  /// True on success; faults in members go to `errors` (may be null) and don't stop it. A member without a node keeps its value.
  /// False where objects nest too deep, or where items would take too much memory for what is read (see ReadingScope.h).
  virtual bool Load(const XmlNode* node, void* data = nullptr, XmlErrorLog* errors = nullptr, void* extra = nullptr);
  virtual const char* GetClassName() const { return StaticClassName(); }
  /// Declares the members on the first call of a class; on each call gives reflected members their parent.
  virtual void RegisterMembers() {}
  /// Elements in the sections of GetActiveSections.
  virtual int32_t GetElementCount();
  /// Null where there is no such element; so the other queries by index.
  virtual const char* GetElementName(int32_t i);
  virtual const char* GetElementDisplayName(int32_t i, void* data);
  /// Null where the object doesn't name itself.
  virtual const char* GetDisplayName(void* data);
  virtual BaseClass* GetElementType(int32_t i);
  virtual void* GetElementData(int32_t i, void* data);
  virtual void* GetElementExtra(int32_t i);
  virtual bool RemoveElement(int32_t i);
  /// Where the class has members "SourceFile" and "LoadingRules": loads from that file the elements that the rules name, apart by
  /// blanks, commas or semicolons. False when nothing was read.
  virtual bool ReadMemberSourceFile(const XmlNode* node, void* data);
  virtual bool IsReflected() const { return false; }
  /// A container makes an item of that class, appends it and returns its index; -1 where it can't.
  virtual int32_t ExpandWith(const char* className, void* data = nullptr);
  virtual int GetExpansionRules() const { return 0; }
  /// Class of a container's items; null elsewhere.
  virtual const char* GetExpandableClass() const { return nullptr; }
  virtual bool IsTransparentElement() const { return Parent && Parent->IsTransparentElement(); }
  /// Reserved query. Those that are reserved keep the slots behind them in their places.
  virtual bool ReservedQuery1() const { return false; }
  /// Shifts an item by `delta`; 0 changes nothing and succeeds.
  virtual bool MoveElement(int32_t i, int32_t delta);
  virtual bool CanChangeElement(int32_t i);
  /// Copies to `dst`, which may be of another class, the members whose name and type agree. A container appends copies of its
  /// items.
  virtual bool FullCopy(void* srcData, void* srcExtra, BaseClass* dst, void* dstData, void* dstExtra, int options = 0);
  /// Compact form: only what differs from a fresh object; a part that its owner's constructor changed, whole. `names`: strings
  /// that are written by their index; `skip`: members left out. At most 255 members, which must keep their places in the
  /// declaration as long as data is kept.
  virtual void SaveBin(void* data, void* extra, BinStream& stream, const LargeNameHash* names = nullptr,
                       const NameHash* skip = nullptr);
  /// False where the stream isn't what this class wrote: reading stopped there, what was read stays.
  virtual bool LoadBin(void* data, void* extra, BinStream& stream, const LargeNameHash* names = nullptr);
  /// Resets nothing, parses the XML file and loads. False where the class isn't reflected or the file doesn't parse; then nothing
  /// changed. False too where Load is.
  virtual bool ReadFromFile(const char* path);
  /// The same; shows faults in boxes unless `quiet`.
  virtual bool SafeReadFromFile(const char* path, bool quiet);
  virtual bool WriteToFile(const char* path);
  /// FullCopy to an object of the same class; false otherwise. `dest` is reset first unless `clearFirst`: the flag stands for "is
  /// clear already".
  virtual bool CopyTo(BaseClass* dest, bool clearFirst);
  /// Reserved query.
  virtual bool ReservedQuery2() const { return false; }

  // Rows of a panel: the elements that RowOptions admit, then "add...".
  virtual int32_t GetVisibleElementCount(void* data, int options);
  /// -1 for the row "add...".
  virtual int32_t VisibleToRealIndex(int32_t row, void* data, int options);
  virtual BaseClass* GetVisibleElementType(int32_t row, void* data, int options);
  virtual void* GetVisibleElementData(int32_t row, void* data, int options);
  virtual void* GetVisibleElementExtra(int32_t row, void* data, int options);
  /// True if at least one class may be added.
  virtual bool GetAddableClasses(AddableClasses& list, void* data, void* extra, ClassFilter filter = nullptr,
                                 void* filterArgument = nullptr);
  /// Filters of the walk, by element: a blocked element is fixed, a hidden one has no row.
  virtual bool IsVisibleElementBlocked(int32_t i, void* data, int options);
  virtual bool IsVisibleElementHidden(int32_t i, void* data, int options);
  virtual const char* GetVisibleElementName(int32_t row, void* data, int options);
  virtual const char* GetVisibleElementDisplayName(int32_t row, void* data, int options);
  /// The two texts of a row: what TranslateText knows for class and member, or for the member alone; empty where it knows
  /// nothing.
  virtual void GetHint(StrBuffer& id, StrBuffer& hint, int32_t row);
  virtual void Ping() {}
  virtual bool IsMethod() const { return false; }
  /// Pings; a method calls its function on `owner`.
  virtual void Call(BaseClass* owner, void* data);
  /// Reserved query.
  virtual bool ReservedQuery3() const { return false; }
  /// Reserved query.
  virtual bool ReservedQuery4() const { return false; }
  virtual bool IsElementReadOnly(int32_t row, void* data, int options);
  virtual bool IsElementHiddenInPanel(int32_t row, void* data, int options);
  /// Bit set of the sections whose members exist now; -1 is all.
  virtual int32_t GetActiveSections() { return -1; }
  /// Row to element; who holds an element index already adds ElementRowBase.
  virtual int32_t RowToElement(int32_t row) { return row >= ElementRowBase ? row - ElementRowBase : row; }
  // Reference hooks: an object that stands for another one, which is found by name when a reading has ended.
  /// By its class name, which begins with "ClassRef.".
  virtual bool IsClassRef() const { return std::string_view(GetClassName()).starts_with("ClassRef."); }
  /// The GetDisplayName of the object referred to; null or empty where it refers to none.
  virtual const char* GetClassRefName(void* data);
  /// Takes the first object of that name among those read, null where there is none. False or an exception is reported as
  /// "TryToLinkClass failed!".
  virtual bool TryToLinkClass(BaseClass* found, void* data);
  /// Forgets the object referred to; called before the reference is read.
  virtual void UnlinkClass(void* data);
  virtual BaseClass* GetParent() const { return Parent; }
  /// Sets the owner of this, and this as owner of the reflected members below.
  virtual void SetParentDeep(BaseClass* parent);
  virtual void SetParent(BaseClass* parent) { Parent = parent; }
  virtual void CopyMethodFrom(const BaseClass* other);
  /// Whether this type can stand for a C++ member of that type name and size.
  virtual bool CheckCompatibility(const char* typeName, size_t size) const;
  /// Whether files leave out what is at its default.
  virtual bool IsDeltaSaved() const { return false; }
  /// For the key "value": the text that Save gives.
  virtual bool GetValueText(StrBuffer& dest, void* data, void* extra, const char* key, const char* keyArgument = nullptr);
  virtual void SetEnumeratorName(const char* name);
  virtual bool OnParametersChanged(void* a, void* b, void* c, void* d);
  // Hooks of tree panels.
  virtual bool IsRowStateMember(const char* name) const;
  virtual bool BuildCustomRow(BaseWidget* widget, const RowRect* rect);
  virtual bool OnRowClick(BaseWidget* widget, const WidgetEvent* event);
  virtual bool CanDragRow() const { return false; }
  virtual bool OnRowDrag(BaseWidget* widget, const WidgetEvent* event);
  virtual bool OnRowDrop(BaseWidget* widget, const WidgetEvent* event);
  virtual bool OnRowDraw(BaseWidget* widget, const RowRect* rect);
  virtual bool UsesCustomCurve() const { return false; }
  /// A new default instance, owned by the caller; null for an abstract class.
  virtual BaseClass* New() const { return nullptr; }
  /// Null for a class outside the declaration pattern.
  virtual OneClassDesc* GetClassDesc() const { return nullptr; }

  // Strict reading of one value, for command lines and fields. See ClassHelp.h.
  /// Writes to `data` only on success; otherwise `expected` says in words what is wanted.
  virtual bool ReadText(std::string_view text, void* data, void* extra, std::string& expected);
  /// Puts the numbers of a numeric value into `numbers`, to be held against a range; returns how many.
  virtual int GetNumbers(const void* data, double (&numbers)[4]) const;

  /// The element that a tag names: a container makes a new item for it, a class looks among its members. -1 where there is none.
  int32_t FindElement(const char* name, BaseClass*& type, void*& data, void*& extra, void* ownerData);
  /// The element of that member name, in the active sections; -1 where there is none.
  int32_t FindElementIndex(std::string_view name);
  /// The record of an element that is a member; null for items of containers and out of range.
  OneClassMember* FindElementMember(int32_t i);
  /// Receiver of the operations on a value: the object at `data` if `type` is reflected, else `type`.
  static BaseClass* GetReceiver(BaseClass* type, void* data) {
    MORVANE_ASSERT(type);
    return type->IsReflected() ? static_cast<BaseClass*>(data) : type;
  }

 protected:
  /// Loads each child of `node` into the element of `object` that its tag names. Unknown tags are reported. False where the
  /// reading was cut off.
  bool LoadElements(const XmlNode* node, BaseClass* object, XmlErrorLog* errors, void* ownExtra);
  /// The same for one child.
  void LoadElement(const XmlNode* child, BaseClass* object, XmlErrorLog* errors, void* ownExtra);
  /// LoadBin of a part of an object.
  static bool LoadBinElement(BaseClass* receiver, void* data, void* extra, BinStream& stream, const LargeNameHash* names);

  // --- the words of a declaration; see Declare.h -------------------------------------------------
  template <class Tag, class M>
  MemberBuilder Member(const char* name, M& field);
  template <class Tag, class M>
  MemberBuilder Member(const char* name, M& field, const SliderRange& range);
  template <class Tag, class M>
  MemberBuilder Member(const char* name, M& field, const char* enumerator);
  template <class Tag, class M>
  MemberBuilder StaticMember(const char* name, M& field);
  /// A button. `Kind` is the tag: _method or _cButton.
  template <template <class> class Kind = _method, class T>
  MemberBuilder Method(const char* name, void (T::*function)());
  /// Text in the panel: a tag without storage, such as _cLabel.
  template <class Tag>
  void Caption(const char* text);
  /// A line of the panel with a caption.
  void Separator(const char* caption);
  /// What follows exists in these sections only; the same mask again, or -1, ends the section, another begins the next one.
  void SECTION(int32_t mask);

 private:
  bool LoadBinMembers(void* data, BinStream& stream, const LargeNameHash* names);
  void RunDeltaPass(XmlNode* node);
  void RewritePart(int32_t element, XmlNode* child, const XmlNode& inFresh);
};

// --- chunks --------------------------------------------------------------------------------------
/// Writes `object` as a chunk: the tag, the size, and its XML text with the terminator. False when it could not be written.
bool WriteChunkFromXml(BinStream& stream, uint32_t tag, BaseClass& object);
/// Loads `object` from the payload of such a chunk, `size` bytes from the reading position on. False, with the object as it was,
/// where the stream ends early or the text doesn't parse.
bool ReadXmlChunk(BinStream& stream, uint32_t size, BaseClass& object, XmlErrorLog* errors = nullptr);

// --- declaration state ---------------------------------------------------------------------------
/// Describe the next declared member; every AddMember clears them.
extern bool DeclReadOnly, DeclHidden, DeclStatic, DeclNoSave;
/// Set while WriteToFile saves an object in delta form.
extern bool SaveOnlyChanges;
/// The object whose Save, Load, SaveBin or LoadBin is running, for accessors.
extern BaseClass* CurrentBase;

/// Returns the text for a key, or the key itself where there is none. Never null.
using TranslateHook = const char* (*)(const char* key);
extern TranslateHook TranslateText;

// --- errors --------------------------------------------------------------------------------------
/// A box "Class engine error". For faults in declarations.
void ShowClassError(const char* format, ...) __attribute__((format(printf, 1, 2)));
/// A fault met in loading `source`: goes to the messages of `errors`, and into a box with the XML source where `errors` asks for
/// boxes. Cancel in that box ends the process with exit code 1. Nothing happens when `errors` is null. The messages stop growing
/// at 1 MiB.
void ReportLoadError(XmlErrorLog* errors, const XmlNode* source, const char* format, ...) __attribute__((format(printf, 3, 4)));

#include "ClassEngine/Declare.h"
