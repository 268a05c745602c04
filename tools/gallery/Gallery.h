#pragma once
// Pages of the interface drawn into pictures, for people to look at.
#include <functional>
#include <memory>
#include <string>

#include "comms/render/EglContext.h"
#include "comms/render/cRenderGL.h"
#include "interface/cWidgets.h"
#include "interface/draw/Theme.h"

/// Fills a window of widgets of that size, opens what is to be open, and returns what the widgets show; it goes before them.
using GalleryPage = std::function<std::shared_ptr<void>(cWidgets&)>;

/// Width and height are pixels at scale 1.
struct GalleryPicture {
  std::string Name;
  ThemeKind Theme = ThemeKind::Dark;
  float Scale = 1;
  int Width = 0, Height = 0;
  GalleryPage Page;
  std::string Language = "English";
};

class Gallery {
 public:
  /// False with one sentence where there is no device.
  bool Init(const std::string& dataFolder, const std::string& pictureFolder, std::string& error);
  /// Draws the page, after a pause in which hints appear, into a PNG file of the picture's name.
  bool Draw(const GalleryPicture& picture, std::string& error);

 private:
  comms::cImage Take(cWidgets& widgets, int width, int height);
  std::string m_Data, m_Folder;
  std::unique_ptr<comms::EglContext> m_Context;
  comms::cRenderGL m_Render;
};

/// Colours, type, shapes and all icons.
std::shared_ptr<void> MakeDrawPage(cWidgets& widgets, const std::string& dataFolder);

/// All widgets in columns, with something opened over them or in use.
enum class WidgetPageState { Plain, Menu, Editing, Question, Progress };
std::shared_ptr<void> MakeWidgetPage(cWidgets& widgets, WidgetPageState state);

/// Panels docked around a view; one on its way, dropped as tabs, or a box over them.
enum class PanelPageState { Docked, Dragging, Tabs, Files };
std::shared_ptr<void> MakePanelPage(cWidgets& widgets, PanelPageState state);
