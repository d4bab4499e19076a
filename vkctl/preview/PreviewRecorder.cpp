#include "vkctl/preview/PreviewRecorder.h"

#include <algorithm>
#include <utility>

#include "app/AppRules.h"
#include "vkctl/preview/PreviewDatabase.h"

namespace vkctl
{

namespace
{

// The poster's databases are a preview's.
CPreviewDatabase* database_of(const CRows* rows)
{
    return rows != nullptr ? dynamic_cast<CPreviewDatabase*>(&rows->Db()) : nullptr;
}

std::string table_of(const CRows* rows)
{
    const CPreviewDatabase* db = database_of(rows);
    return db != nullptr ? db->Table(rows->Index()) : "";
}

// A column by its name or number; nothing when the row has no such column.
template <typename Column>
void add_cell(std::vector<PreviewCell>& cells, const CRows* rows, const Column& column)
{
    CPreviewDatabase* db = database_of(rows);
    const auto cell = db != nullptr ? db->Cell(rows->Index(), column) : std::nullopt;
    if (cell)
    {
        cells.push_back(*cell);
    }
}

std::vector<PreviewCell> head_cells(const CHead& head)
{
    std::vector<PreviewCell> cells;
    for (const HeadField& field : body_kind(head.kind).head)
    {
        if (field.column != nullptr)
        {
            add_cell(cells, head.rows, std::string(field.column));
        }
    }
    if (head.kind == BodyKind::kAlarm)
    {
        add_cell(cells, head.rows, std::string("AlmBrief")); // which may refine the class
    }
    return cells;
}

// Of a row that its decisive column leaves out the daemon has read nothing else.
std::vector<PreviewCell> detail_cells(const PartSource& source, std::optional<LeftOut> left_out)
{
    std::vector<PreviewCell> cells;
    const DetailMode* mode = find_detail_mode(source.number);
    if (mode == nullptr)
    {
        return cells;
    }
    const std::vector<std::string> columns = left_out == LeftOut::kEmpty
                                                 ? std::vector<std::string>{mode->decisive}
                                                 : detail_columns(*mode);
    for (const std::string& column : columns)
    {
        add_cell(cells, source.rows, column);
    }
    return cells;
}

std::vector<PreviewCell> part_cells(const PartSource& source, std::optional<LeftOut> left_out)
{
    if (source.origin == PartOrigin::kDetailRow)
    {
        return detail_cells(source, left_out);
    }
    std::vector<PreviewCell> cells;
    if (source.origin == PartOrigin::kRendered)
    {
        add_cell(cells, source.rows, source.number);
    }
    else if (source.column != nullptr)
    {
        add_cell(cells, source.rows, std::string(source.column));
    }
    return cells;
}

PreviewPart part_of(BodyPart part, const PartSource& source, std::optional<LeftOut> left_out)
{
    return {part,
            source.origin,
            source.number,
            source.type,
            table_of(source.rows),
            part_cells(source, left_out),
            "",
            left_out};
}

} // namespace

CPreviewRecorder& CPreviewRecorder::Get()
{
    static CPreviewRecorder recorder;
    return recorder;
}

void CPreviewRecorder::Begin(CPreview::OnBody on_body, CPreview::OnLog on_log)
{
    m_onBody = std::move(on_body);
    m_onLog = std::move(on_log);
    m_failures.clear();
}

void CPreviewRecorder::End()
{
    m_composed.clear();
    m_onBody = nullptr;
    m_onLog = nullptr;
}

PreviewBody* CPreviewRecorder::Composed()
{
    return m_onBody && !m_composed.empty() ? &m_composed.back() : nullptr;
}

void CPreviewRecorder::BodyBegun(const CHead& head)
{
    if (!m_onBody)
    {
        return;
    }
    const bool is_next_output = head.kind == BodyKind::kOutput && !m_composed.empty() &&
                                m_composed.back().kind == BodyKind::kOutput;
    if (!is_next_output)
    {
        m_composed.clear();
    }
    PreviewBody body;
    body.kind = head.kind;
    body.table = table_of(head.rows);
    body.sid = head.sid;
    body.type = head.stype;
    body.head = head_cells(head);
    m_composed.push_back(std::move(body));
}

void CPreviewRecorder::Part(BodyPart part, std::string text, const PartSource& source)
{
    if (PreviewBody* body = Composed())
    {
        body->text += text;
        body->parts.push_back(part_of(part, source, std::nullopt));
        body->parts.back().text = std::move(text);
    }
}

void CPreviewRecorder::PartLeftOut(BodyPart part, const PartSource& source, LeftOut why)
{
    if (PreviewBody* body = Composed())
    {
        body->parts.push_back(part_of(part, source, why));
    }
}

void CPreviewRecorder::DetailsBegun(bool is_again)
{
    PreviewBody* body = Composed();
    if (body == nullptr)
    {
        return;
    }
    if (!is_again)
    {
        m_detailParts = body->parts.size();
        return;
    }
    for (; body->parts.size() > m_detailParts; body->parts.pop_back())
    {
        body->text.resize(body->text.size() - body->parts.back().text.size());
    }
}

void CPreviewRecorder::Post(const char* text, std::vector<std::string> urls)
{
    if (!m_onBody || m_composed.empty())
    {
        return;
    }
    PreviewBody body = std::move(m_composed.front());
    m_composed.pop_front();
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
