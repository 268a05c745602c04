#pragma once
// The list of a folder's entries: name, size and date in columns, sorted by the one whose title was pressed.
#include "interface/FileBrowser.h"

class VScroller;

class FileList : public BaseWidget {
  REFLECTED(FileList, BaseWidget)
 public:
  FileList();
  explicit FileList(FileBrowser& browser);
  void Draw(Canvas& canvas) override;
  void Arrange(const cRect& rect, Canvas& canvas) override;
  bool OnMouse(const InputEvent& event) override;
  bool OnKey(const InputEvent& event) override;
  bool TakesFocus() const override { return true; }
  bool ClipsChildren() const override { return true; }
  void Process(double timeSec) override { m_Now = timeSec; }

  void Show(std::vector<FileEntry> entries);
  void SortBy(FileOrder order);
  const std::vector<FileEntry>& Entries() const { return m_Entries; }
  /// -1: none.
  int Chosen() const { return m_Chosen; }
  void Choose(int index);
  /// The first entry whose name begins with it, whatever the case.
  bool Find(const std::string& start);
  cRect RowRect(int index) const;
  cRect TitleRect(FileOrder order) const;

 private:
  bool OnScroll(BaseWidget* widget, const WidgetEvent& event);
  int RowAt(float x, float y) const;
  FileBrowser* m_Browser = nullptr;
  VScroller* m_Scroller = nullptr;
  std::vector<FileEntry> m_Entries;
  FileOrder m_Order = FileOrder::Name;
  bool m_Descending = false;
  int m_Chosen = -1;
  float m_RowHeight = 22, m_TitleHeight = 24, m_SizeWidth = 90, m_TimeWidth = 130;
  std::string m_Typed;
  double m_Now = 0, m_TypedAt = -10;
};
