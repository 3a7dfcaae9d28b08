#include "formats/SliceFile.h"

#include <algorithm>

#include <tavrix/platform/NumberText.h>

#include "formats/BlockWriter.h"
#include "formats/FileName.h"
#include "formats/OutputFile.h"

namespace tavrix::formats
{

namespace
{

/// The shortest text that reads back the same; -0 becomes 0.
void putShortest(BlockWriter& file, double value)
{
    char text[maxDoubleLength];
    file.put(std::string_view(text, printDouble(text, value + 0.0)));
}

void putCount(BlockWriter& file, uint64 count)
{
    char text[maxUIntLength];
    file.put(std::string_view(text, printUInt(text, count)));
}

class CsvSlices
{
public:
    explicit CsvSlices(BlockWriter& file) : _file(file) { _file.put("layer,height,loop,kind,x,y\n"); }

    void put(const MeshSlice& slice, uint32 layer)
    {
        uint32 number = 0;
        for (const Polygonum& loop : slice.polygons)
        {
            const bool isHole = slice.polygons.isHole(number);
            putLine(slice, layer, number++, isHole ? "hole" : "outer", loop.points());
        }
        for (const Polyline& chain : slice.openChains) putLine(slice, layer, number++, "open", chain);
    }

private:
    void putLine(const MeshSlice& slice, uint32 layer, uint32 number, std::string_view kind,
                 const Polyline& points)
    {
        for (const Vector2D& p : points)
        {
            putCount(_file, layer);
            _file.put(",");
            putShortest(_file, slice.height);
            _file.put(",");
            putCount(_file, number);
            _file.put(",");
            _file.put(kind);
            _file.put(",");
            putShortest(_file, p.x);
            _file.put(",");
            putShortest(_file, p.y);
            _file.put("\n");
        }
    }

    BlockWriter& _file;
};

class SvgSlices
{
public:
    SvgSlices(BlockWriter& file, const SliceSheet& sheet, bool isSingle) : _file(file)
    {
        const Box2D box = sheet.box.isEmpty() ? Box2D{{0, 0}, {0, 0}} : sheet.box;
        const double width = box.max.x - box.min.x, height = box.max.y - box.min.y;
        const double size = std::max(width, height) > 0 ? std::max(width, height) : 1;
        const double margin = size / 50;
        // a ten millionth of the page
        double steps = size;
        for (; steps < 1e7 && _decimals < maxDecimals; ++_decimals) steps *= 10;
        _file.put(
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\" "
            "xmlns:inkscape=\"http://www.inkscape.org/namespaces/inkscape\" version=\"1.1\"");
        putAttribute("width", width + 2 * margin, sheet.unit);
        putAttribute("height", height + 2 * margin, sheet.unit);
        _file.put(" viewBox=\"");
        for (const double value : {box.min.x - margin, -box.max.y - margin, width + 2 * margin})
        {
            putNumber(value);
            _file.put(" ");
        }
        putNumber(height + 2 * margin);
        // many layers lie on one another, and each lets the others through
        _file.put(
            "\">\n<g fill=\"#2f6db0\" fill-rule=\"evenodd\" stroke=\"#16324f\" stroke-linejoin=\"round\"");
        putAttribute("stroke-width", size / 500);
        putAttribute("fill-opacity", isSingle ? 1 : 0.15);
        _file.put(">\n");
    }

    void put(const MeshSlice& slice, uint32 layer)
    {
        _file.put("<g id=\"layer");
        putCount(_file, layer);
        _file.put("\" inkscape:groupmode=\"layer\" inkscape:label=\"");
        putShortest(_file, slice.height);
        _file.put("\" data-height=\"");
        putShortest(_file, slice.height);
        _file.put("\">\n");
        if (slice.polygons.size() > 0)
        {
            _file.put("<path d=\"");
            for (const Polygonum& loop : slice.polygons) putLine(loop.points(), true);
            _file.put("\"/>\n");
        }
        if (!slice.openChains.empty())
        {
            _file.put("<path fill=\"none\" stroke=\"#c0392b\" d=\"");
            for (const Polyline& chain : slice.openChains) putLine(chain, false);
            _file.put("\"/>\n");
        }
        _file.put("</g>\n");
    }

    void end() { _file.put("</g>\n</svg>\n"); }

private:
    static constexpr int maxDecimals = 17;

    void putAttribute(std::string_view name, double value, std::string_view unit = {})
    {
        _file.put(" ");
        _file.put(name);
        _file.put("=\"");
        putNumber(value);
        _file.put(unit);
        _file.put("\"");
    }

    void putNumber(double value)
    {
        char text[maxFixedLength];
        const char* end = printFixed(text, value, _decimals);
        if (_decimals > 0)
        {
            while (end[-1] == '0') --end;
            if (end[-1] == '.') --end;
        }
        const std::string_view number(text, end);
        _file.put(number == "-0" ? std::string_view("0") : number);
    }

    void putLine(const Polyline& points, bool isLoop)
    {
        std::string_view mark = "M";
        for (const Vector2D& p : points)
        {
            _file.put(mark);
            putNumber(p.x);
            _file.put(" ");
            putNumber(-p.y);
            mark = " ";  // what follows a move is drawn to
        }
        if (isLoop) _file.put("Z");
    }

    BlockWriter& _file;
    int _decimals = 0;
};

}  // namespace

const std::vector<std::string>& sliceExtensions()
{
    static const std::vector<std::string> extensions{"svg", "csv"};
    return extensions;
}

void writeSlices(const std::string& path, std::span<const MeshSlice> slices, uint32 firstNumber,
                 const SliceSheet& sheet)
{
    const auto putAll = [&](BlockWriter& file, auto&& writer)
    {
        for (std::size_t n = 0; n < slices.size() && file.isWell(); ++n)
            writer.put(slices[n], firstNumber + static_cast<uint32>(n));
    };
    const auto write = [&](const std::string& name)
    {
        BlockWriter file(name);
        if (extensionOf(path) == "svg")
        {
            SvgSlices writer(file, sheet, slices.size() == 1);
            putAll(file, writer);
            writer.end();
        }
        else
            putAll(file, CsvSlices(file));
        return file.close();
    };
    writeFileWhole(path, write);
}

}  // namespace tavrix::formats
