// Owning handles for the drawing library's objects, so that every path out of
// a paint gives them back.
#pragma once

#include <cairo-ft.h>
#include <cairo.h>
#include <fontconfig/fontconfig.h>

#include <memory>

namespace splash {

template <class T, auto Free> struct FreeWith {
    void operator()(T* p) const { Free(p); }
};

using CairoPtr = std::unique_ptr<cairo_t, FreeWith<cairo_t, cairo_destroy>>;
using SurfacePtr =
    std::unique_ptr<cairo_surface_t, FreeWith<cairo_surface_t, cairo_surface_destroy>>;
using FontFacePtr =
    std::unique_ptr<cairo_font_face_t, FreeWith<cairo_font_face_t, cairo_font_face_destroy>>;
using ScaledFontPtr =
    std::unique_ptr<cairo_scaled_font_t, FreeWith<cairo_scaled_font_t, cairo_scaled_font_destroy>>;
using FontOptionsPtr = std::unique_ptr<cairo_font_options_t,
                                       FreeWith<cairo_font_options_t, cairo_font_options_destroy>>;
using GlyphsPtr = std::unique_ptr<cairo_glyph_t, FreeWith<cairo_glyph_t, cairo_glyph_free>>;
using PatternPtr = std::unique_ptr<FcPattern, FreeWith<FcPattern, FcPatternDestroy>>;

} // namespace splash
