// metafile_recorder.hpp - MetaRecorder, what a metafile DC hands the calls made on it to.
//
// CreateMetaFileA and CreateEnhMetaFileA make a DeviceContext of kind MetaDC or EnhMetaDC
// whose `recorder` is a WMF or EMF recorder (wmf_recorder.cpp, emf_recorder.cpp). Every GDI
// call of the subset that a metafile can hold looks at the DC's recorder first: when there is
// one, it hands the call over with its arguments as the caller gave them (logical
// coordinates, unresolved colours) and answers what Windows answers for that kind of DC; a
// metafile DC has no surface, so nothing is drawn. A state call also updates the DC's DcState
// where Windows keeps state for that kind of DC (an enhanced metafile DC answers GetMapMode,
// for instance).
//
// A call reaches the recorder as soon as it has found the DC, before it checks its arguments
// against the DC's state, because a Windows metafile DC records them unchecked (SetMapMode(99),
// a zero window extent, RestoreDC of a level never saved); arguments a call refuses whatever
// the DC (SetBkMode(7), a stale object) are refused first and never recorded. What the call
// then answers depends on keepsState(): a recorder that keeps state (an enhanced metafile DC)
// lets the call go on as on any DC without pixels, so it changes and answers the DcState, and
// the recorder leaves out what the call then refuses; a recorder that does not (a Windows
// metafile DC) stops the call there with Windows' answer for such a DC: 1 (TRUE) from nearly
// every call, the DcState unchanged, and the getters fail.
//
// Each method runs with the object table locked (inside OnDC), so it may read the objects it
// is given but must not call an exported GDI function. A method a recorder does not override
// records nothing. Bytes go into the recorder's own buffer; Close... takes them out.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "platform/posix/gdi/objects.hpp"

namespace vx::posix::gdi {

enum class ArcKind { Arc, Pie, Chord };

class MetaRecorder {
public:
    virtual ~MetaRecorder() = default;

    // Whether the DC keeps its state and answers as other DCs do (see above).
    virtual bool keepsState() const { return true; }

    // State.
    virtual void SaveDC() {}
    virtual void RestoreDC(int /*saved*/) {}
    virtual void SetMapMode(int /*mode*/) {}
    virtual void SetWindowOrg(int /*x*/, int /*y*/) {}
    virtual void SetWindowExt(int /*x*/, int /*y*/) {}
    virtual void SetViewportOrg(int /*x*/, int /*y*/) {}
    virtual void SetViewportExt(int /*x*/, int /*y*/) {}
    virtual void OffsetWindowOrg(int /*x*/, int /*y*/) {}
    virtual void OffsetViewportOrg(int /*x*/, int /*y*/) {}
    virtual void ScaleWindowExt(int /*xNum*/, int /*xDenom*/, int /*yNum*/, int /*yDenom*/) {}
    virtual void ScaleViewportExt(int /*xNum*/, int /*xDenom*/, int /*yNum*/, int /*yDenom*/) {}
    virtual void SetTextColor(COLORREF /*colour*/) {}
    virtual void SetBkColor(COLORREF /*colour*/) {}
    virtual void SetBkMode(int /*mode*/) {}
    virtual void SetROP2(int /*mode*/) {}
    virtual void SetStretchBltMode(int /*mode*/) {}
    virtual void SetPolyFillMode(int /*mode*/) {}
    virtual void SetTextAlign(UINT /*align*/) {}

    // Objects: a pen, brush, font or region selected (the object as it is now), a palette
    // selected and realised, and an object deleted while the recorder may know it.
    virtual void SelectObject(HGDIOBJ /*handle*/, const GdiObject& /*object*/) {}
    virtual void SelectPalette(HPALETTE /*handle*/, const Palette& /*palette*/) {}
    virtual void RealizePalette() {}
    virtual void ObjectDeleted(HGDIOBJ /*handle*/) {}

    // Clipping, in logical coordinates.
    virtual void SelectClipRgn(const Region* /*region*/) {}
    virtual void IntersectClipRect(int /*left*/, int /*top*/, int /*right*/, int /*bottom*/) {}
    virtual void ExcludeClipRect(int /*left*/, int /*top*/, int /*right*/, int /*bottom*/) {}

    // Lines and shapes.
    virtual void MoveTo(int /*x*/, int /*y*/) {}
    virtual void LineTo(int /*x*/, int /*y*/) {}
    virtual void Polyline(std::span<const POINT> /*points*/) {}
    virtual void Polygon(std::span<const POINT> /*points*/) {}
    virtual void PolyPolygon(std::span<const POINT> /*points*/, std::span<const INT> /*counts*/) {}
    virtual void Rectangle(int /*left*/, int /*top*/, int /*right*/, int /*bottom*/) {}
    virtual void RoundRect(int /*left*/, int /*top*/, int /*right*/, int /*bottom*/, int /*width*/, int /*height*/) {}
    virtual void Ellipse(int /*left*/, int /*top*/, int /*right*/, int /*bottom*/) {}
    virtual void ArcFamily(ArcKind /*kind*/, int /*left*/, int /*top*/, int /*right*/, int /*bottom*/,
                           int /*startX*/, int /*startY*/, int /*endX*/, int /*endY*/) {}
    virtual void SetPixel(int /*x*/, int /*y*/, COLORREF /*colour*/) {}
    virtual void FillRgn(const Region& /*region*/, HBRUSH /*brush*/, const Brush& /*object*/) {}
    virtual void PaintRgn(const Region& /*region*/) {}
    virtual void FrameRgn(const Region& /*region*/, HBRUSH /*brush*/, const Brush& /*object*/, int /*width*/,
                          int /*height*/) {}
    virtual void InvertRgn(const Region& /*region*/) {}

    // Text, as bytes of the DC's character set; `dx` is empty or one advance per character.
    virtual void TextOut(int /*x*/, int /*y*/, std::string_view /*text*/) {}
    virtual void ExtTextOut(int /*x*/, int /*y*/, UINT /*options*/, const RECT* /*rect*/, std::string_view /*text*/,
                            std::span<const INT> /*dx*/) {}

    // Transfers. `source` is the source DC's surface when the caller named a source DC with
    // pixels (a raster operation that does not read it may still come with one), null for
    // PatBlt and when there is none; the source rectangle is as the caller gave it (Windows
    // records it so, whatever the source DC's mapping). The
    // DIB calls pass the caller's header (read and checked by the call), colour table and
    // bits, which the header is trusted to describe, as Windows trusts it.
    virtual void PatBlt(int /*x*/, int /*y*/, int /*width*/, int /*height*/, DWORD /*rop*/) {}
    virtual void StretchBlt(int /*x*/, int /*y*/, int /*width*/, int /*height*/, const Surface* /*source*/,
                            int /*sourceX*/, int /*sourceY*/, int /*sourceWidth*/, int /*sourceHeight*/,
                            DWORD /*rop*/, bool /*stretched*/) {}
    virtual void StretchDIBits(int /*x*/, int /*y*/, int /*width*/, int /*height*/, int /*sourceX*/,
                               int /*sourceY*/, int /*sourceWidth*/, int /*sourceHeight*/, const void* /*bits*/,
                               const BITMAPINFO* /*info*/, UINT /*usage*/, DWORD /*rop*/) {}
    virtual void SetDIBitsToDevice(int /*x*/, int /*y*/, DWORD /*width*/, DWORD /*height*/, int /*sourceX*/,
                                   int /*sourceY*/, UINT /*start*/, UINT /*lines*/, const void* /*bits*/,
                                   const BITMAPINFO* /*info*/, UINT /*usage*/) {}
};

// The recorder of a DC, or null when it is no metafile DC.
inline MetaRecorder* RecorderOf(const DeviceContext& context) { return context.recorder.get(); }

// The recorder of a DC that keeps no state (a Windows metafile DC), or null: the calls that
// find one record and answer at once.
inline MetaRecorder* StatelessRecorderOf(const DeviceContext& context) {
    MetaRecorder* recorder = context.recorder.get();
    return recorder != nullptr && !recorder->keepsState() ? recorder : nullptr;
}

// A new metafile DC of `kind` (MetaDC or EnhMetaDC) recording into `recorder`, with the
// selections a new DC starts with; null when out of memory. Takes the table lock: call it
// without one.
HDC NewMetaDC(ObjectKind kind, std::shared_ptr<MetaRecorder> recorder);

// Tells every live recorder that `handle` is being deleted (DeleteObject; the recorder
// decides what that means to it). Call with the table locked.
void TellRecordersDeleted(HGDIOBJ handle);

}  // namespace vx::posix::gdi
