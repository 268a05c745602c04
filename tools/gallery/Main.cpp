// Draws the interface into PNG files in both themes, several scales and both languages, for people to look at:
//   gallery <data folder> <folder for the pictures>
#include <cstdio>
#include <vector>

#include "Gallery.h"
#include "comms/Image.h"
#include "interface/Language.h"
#include "shell/core/KeyTable.h"

bool Gallery::Init(const std::string& dataFolder, const std::string& pictureFolder, std::string& error) {
  m_Data = dataFolder;
  m_Folder = pictureFolder;
  m_Context = comms::EglContext::Create(error);
  return m_Context && m_Render.Init({dataFolder, {}}, error);
}

bool Gallery::Draw(const GalleryPicture& picture, std::string& error) {
  SetTheme(picture.Theme);
  if (!LoadLanguage(m_Data, picture.Language, error)) return false;
  const int width = int(float(picture.Width) * picture.Scale), height = int(float(picture.Height) * picture.Scale);
  Canvas canvas(m_Render, m_Data);
  cWidgets widgets(canvas);
  widgets.SetSize(width, height, picture.Scale);
  const std::shared_ptr<void> shown = picture.Page(widgets);
  widgets.HandleInputEvents();
  for (const double timeSec : {1.1, 1.9}) widgets.Process(timeSec);
  const comms::cImage image = Take(widgets, width, height);
  const std::string path = m_Folder + "/" + picture.Name + ".png";
  return comms::SavePng(image, path, error);
}

comms::cImage Gallery::Take(cWidgets& widgets, int width, int height) {
  Canvas& canvas = widgets.GetCanvas();
  comms::TargetDesc desc;
  desc.Width = width;
  desc.Height = height;
  const int target = m_Render.CreateTarget(desc);
  m_Render.SetTarget(target);
  m_Render.SetViewport(0, 0, width, height);
  m_Render.Clear({0, 0, 0, 1}, 1);
  canvas.Begin(width, height, widgets.Scale());
  canvas.FillGradient(canvas.Screen(), 0, GetTheme().ViewTop, GetTheme().ViewBottom);
  widgets.DrawLayer(-1);
  canvas.End();
  comms::cImage image;
  m_Render.ReadTarget(target, image);
  m_Render.SetTarget(-1);
  m_Render.DeleteTarget(target);
  return image;
}

static std::vector<GalleryPicture> ListPictures(const std::string& data) {
  constexpr auto dark = ThemeKind::Dark, light = ThemeKind::Light;
  const auto draw = [data](cWidgets& w) { return MakeDrawPage(w, data); };
  const auto widgets = [](WidgetPageState state) { return [state](cWidgets& w) { return MakeWidgetPage(w, state); }; };
  const auto panels = [](PanelPageState state) { return [state](cWidgets& w) { return MakePanelPage(w, state); }; };
  using enum WidgetPageState;
  using enum PanelPageState;
  return {
      {"draw-dark", dark, 1, 800, 690, draw},
      {"draw-light-1.5", light, 1.5f, 800, 690, draw},
      {"widgets-dark", dark, 1, 1150, 620, widgets(Plain)},
      {"widgets-dark-menu-2", dark, 2, 1150, 620, widgets(Menu)},
      {"widgets-light-editing-3", light, 3, 1150, 620, widgets(Editing)},
      {"widgets-dark-question", dark, 1, 1150, 620, widgets(Question)},
      {"widgets-light-progress", light, 1, 1150, 620, widgets(Progress)},
      {"panels-dark-dragging", dark, 1, 900, 640, panels(Dragging)},
      {"panels-light-tabs", light, 1, 1100, 700, panels(Tabs)},
      {"panels-dark-files", dark, 1, 1000, 640, panels(Files)},
      {"panels-dark", dark, 1, 1100, 760, panels(Docked)},
      {"panels-light-1.5", light, 1.5f, 1100, 760, panels(Docked)},
      {"panels-dark-German-2", dark, 2, 1100, 760, panels(Docked), "German"},
      {"panels-light-German-3", light, 3, 1100, 760, panels(Docked), "German"},
      {"panels-light-small", light, 1, 640, 480, panels(Docked)},
      {"panels-dark-small-German-2", dark, 2, 640, 480, panels(Docked), "German"},
  };
}

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: %s <data folder> <folder for the pictures>\n", argv[0]);
    return 2;
  }
  FillKeyTable();
  Gallery gallery;
  std::string error;
  if (!gallery.Init(argv[1], argv[2], error)) {
    std::fprintf(stderr, "%s\n", error.c_str());
    return 1;
  }
  for (const GalleryPicture& picture : ListPictures(argv[1]))
    if (!gallery.Draw(picture, error)) {
      std::fprintf(stderr, "%s was not drawn: %s\n", picture.Name.c_str(), error.c_str());
      return 1;
    }
  return 0;
}
