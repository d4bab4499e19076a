#include "vkctl/preview/PreviewRecorder.h"

#include <algorithm>
#include <utility>

#include "vkctl/preview/PreviewSource.h"

namespace vkctl
{

namespace
{

// Inputs and outputs are one step; the outputs come from a table of their own.
constexpr char kOutputTable[] = "tbDio";

// The number in the latest cell of that column; 0 without one.
int number_of(const std::vector<PreviewCell>& cells, const char* column)
{
    const PreviewCell* cell = find_cell(cells, column);
    return cell != nullptr ? cell->number : 0;
}

} // namespace

CPreviewRecorder& CPreviewRecorder::Get()
{
    static CPreviewRecorder recorder;
    return recorder;
}

void CPreviewRecorder::Begin(CPreview::OnBody onBody, CPreview::OnLog onLog)
{
    m_onBody = std::move(onBody);
    m_onLog = std::move(onLog);
    m_failures.clear();
}

void CPreviewRecorder::End()
{
    SetStep(std::nullopt);
    m_onBody = nullptr;
    m_onLog = nullptr;
}

void CPreviewRecorder::SetStep(std::optional<BodyKind> step)
{
    m_step = step;
    m_table.clear();
    m_cells.clear();
    m_composed.clear();
    m_inHead = false;
}

// Cells that came to nothing at the end of a row still belong to the body that the row became.
void CPreviewRecorder::KeepUnusedCells()
{
    if (!m_composed.empty() && !m_cells.empty())
    {
        m_composed.back().parts.push_back({BodyPart::kPair, "", std::move(m_cells)});
    }
    m_cells.clear();
}

void CPreviewRecorder::Query(const std::string& table)
{
    KeepUnusedCells();
    m_table = table;
    m_inHead = false;
}

void CPreviewRecorder::NextRow()
{
    KeepUnusedCells();
}

void CPreviewRecorder::Read(PreviewCell cell)
{
    if (IsRecording())
    {
        m_cells.push_back(std::move(cell));
    }
}

void CPreviewRecorder::BeginBody()
{
    PreviewBody body;
    body.kind = m_table == kOutputTable ? BodyKind::kOutput : *m_step;
    body.table = *m_step == BodyKind::kHost ? "" : m_table;
    body.sid = number_of(m_cells, "SID");
    body.type = number_of(m_cells, "Type");
    m_composed.push_back(std::move(body));
}

void CPreviewRecorder::Part(BodyPart part, std::string text)
{
    if (!IsRecording())
    {
        return;
    }
    const bool isHead = part == BodyPart::kHead;
    if ((isHead && !m_inHead) || m_composed.empty())
    {
        BeginBody();
    }
    m_inHead = isHead;
    PreviewBody& body = m_composed.back();
    body.text += text;
    body.parts.push_back({part, std::move(text), std::move(m_cells)});
    m_cells.clear();
}

void CPreviewRecorder::Post(const char* text, std::vector<std::string> urls)
{
    if (!IsRecording())
    {
        return;
    }
    KeepUnusedCells();
    m_inHead = false;
    // A body that was begun and dropped, its row gone bad, stands before the one that is posted.
    while (!m_composed.empty() && m_composed.front().text != text)
    {
        m_composed.pop_front();
    }
    PreviewBody body;
    body.kind = *m_step;
    if (!m_composed.empty())
    {
        body = std::move(m_composed.front());
        m_composed.pop_front();
    }
    body.text = text;
    body.urls = std::move(urls);
    m_onBody(body);
}

void CPreviewRecorder::Failed(const std::string& sql, const std::string& table,
                              const std::string& message)
{
    Succeeded(sql); // a statement is told of once, with its latest failure
    m_failures.push_back({sql, table, message});
}

void CPreviewRecorder::Succeeded(const std::string& sql)
{
    m_failures.erase(std::remove_if(m_failures.begin(), m_failures.end(),
                                    [&](const PreviewFailure& one) { return one.sql == sql; }),
                     m_failures.end());
}

void CPreviewRecorder::Log(const std::string& message)
{
    if (m_onLog)
    {
        m_onLog(message.substr(0, message.find_last_not_of("\r\n") + 1));
    }
}

} // namespace vkctl
