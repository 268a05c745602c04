#pragma once
// What the galleries share: the device, the pictures, and a main.
#include <cstdio>
#include <functional>
#include <string>

#include "comms/Image.h"
#include "comms/render/EglContext.h"
#include "comms/render/cRenderGL.h"
#include "interface/Language.h"
#include "interface/cWidgets.h"
#include "interface/draw/Theme.h"

/// A picture of a window of widgets. Width and height are pixels at scale 1.
struct GalleryPicture {
  std::string Name;
  ThemeKind Theme = ThemeKind::Dark;
  float Scale = 1;
  int Width = 0, Height = 0;
  std::string Language = "English";
};

class Gallery {
 public:
  comms::cRenderGL Render;
  std::string Data, Folder;

  /// Theme and language of the picture; size in pixels.
  bool Begin(const GalleryPicture& picture, int& width, int& height) {
    SetTheme(picture.Theme);
    width = int(float(picture.Width) * picture.Scale);
    height = int(float(picture.Height) * picture.Scale);
    comms::cStr error;
    if (LoadLanguage(Data, picture.Language, error)) return true;
    std::fprintf(stderr, "%s\n", error.c_str());
    return false;
  }
  /// Draws all layers, after a pause in which hints appear, into a PNG file of that name.
  bool Store(const GalleryPicture& picture, cWidgets& widgets) {
    widgets.HandleInputEvents();
    for (const double timeSec : {1.1, 1.9}) widgets.Process(timeSec);
    Canvas& canvas = widgets.GetCanvas();
    const int width = canvas.Width(), height = canvas.Height();
    comms::TargetDesc desc;
    desc.Width = width;
    desc.Height = height;
    const int target = Render.CreateTarget(desc);
    Render.SetTarget(target);
    Render.SetViewport(0, 0, width, height);
    Render.Clear({0, 0, 0, 1}, 1);
    canvas.Begin(width, height, picture.Scale);
    canvas.FillGradient(canvas.Screen(), 0, GetTheme().ViewTop, GetTheme().ViewBottom);
    widgets.DrawLayer(-1);
    canvas.End();
    comms::cImage image;
    comms::cStr error;
    const bool drawn = Render.ReadTarget(target, image);
    Render.SetTarget(-1);
    Render.DeleteTarget(target);
    const std::string path = Folder + "/" + picture.Name + ".png";
    if (drawn && comms::SavePng(image, path, error)) return true;
    std::fprintf(stderr, "%s was not drawn: %s\n", path.c_str(), error.c_str());
    return false;
  }
};

/// Arguments: the data folder and the folder for the pictures.
inline int RunGallery(int argc, char** argv, const std::function<bool(Gallery&)>& draw) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: %s <data folder> <folder for the pictures>\n", argv[0]);
    return 2;
  }
  comms::cStr error;
  const auto context = comms::EglContext::Create(error);
  Gallery gallery;
  gallery.Data = argv[1];
  gallery.Folder = argv[2];
  if (!context || !gallery.Render.Init({argv[1], {}}, error)) {
    std::fprintf(stderr, "%s\n", error.c_str());
    return 1;
  }
  return draw(gallery) ? 0 : 1;
}
