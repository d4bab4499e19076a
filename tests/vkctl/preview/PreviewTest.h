// What the tests of vkctl preview start from: a small host, and short questions to its preview.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "tests/daemon/support/HostDir.h"
#include "vkctl/preview/Preview.h"
#include "vkctl/preview/PreviewExplain.h"

using vkctl::BodyKind;
using Texts = std::vector<std::string>;

class PreviewTest : public ::testing::Test
{
protected:
    PreviewTest()
    {
        host.Post("Url", "http://a/data");
        host.Post("maxURLs", "2");
        host.Post("AlmUrl", "http://a/alarm");
    }

    // The bodies of a preview; lines of the daemon's log go to `log`. Without the host's own body,
    // whose figures are the machine's.
    std::vector<vkctl::PreviewBody> Show(vkctl::PreviewSelection selection = AllButHost())
    {
        host.WriteIni();
        std::vector<vkctl::PreviewBody> bodies;
        vkctl::CPreview preview(host.Path());
        preview.Run(
            selection, [&](const vkctl::PreviewBody& body) { bodies.push_back(body); },
            [&](const std::string& line) { log.push_back(line); });
        return bodies;
    }

    Texts Bodies(const vkctl::PreviewSelection& selection = AllButHost())
    {
        Texts texts;
        for (const vkctl::PreviewBody& body : Show(selection))
        {
            texts.push_back(body.text);
        }
        return texts;
    }

    // Kind, SID and table of each body: "device 7 tbDev".
    Texts Names(const vkctl::PreviewSelection& selection = AllButHost())
    {
        Texts names;
        for (const vkctl::PreviewBody& body : Show(selection))
        {
            names.push_back(std::string(vkctl::kind_name(body.kind)) + " " +
                            std::to_string(body.sid) + " " + body.table);
        }
        return names;
    }

    // The explanation of the last body, from its line `first` on: "pairs <- source".
    Texts Explained(size_t first, const vkctl::PreviewSelection& selection = AllButHost())
    {
        host.WriteIni();
        Texts lines;
        vkctl::CPreview preview(host.Path());
        preview.Run(selection,
                    [&](const vkctl::PreviewBody& body)
                    {
                        lines.clear();
                        for (const vkctl::Explanation& line : explain(body, preview.Poster()))
                        {
                            lines.push_back(line.pairs + " <- " + line.source);
                        }
                    },
                    {});
        lines.erase(lines.begin(),
                    lines.begin() + static_cast<ptrdiff_t>(std::min(first, lines.size())));
        return lines;
    }

    static vkctl::PreviewSelection AllButHost()
    {
        vkctl::PreviewSelection selection;
        selection.kinds.erase(BodyKind::kHost);
        return selection;
    }

    static vkctl::PreviewSelection Only(BodyKind kind)
    {
        vkctl::PreviewSelection selection;
        selection.kinds = {kind};
        return selection;
    }

    // A camera, an input of device 7, three outputs, a general table of two rows.
    void AllKinds()
    {
        host.SimpleRoom();
        host.Data("insert into tbSM values(31,3072,30,'Cam31',null,6,4,0,1,'10.0.0.1,80',null)");
        host.Data("insert into tbSM(SID,Name,Tag1,ASubSys) values(21,'In21',4,3)");
        host.Data("insert into tbSubSysDetail values(21,7,5,11,1,'2024-05-01 11:00:00')");
        host.Data("insert into tbDio values(1,2,0,'2024-05-01 10:00:00',0,1,2)");
        host.Ini("POST.General", "tbGen", "40");
        host.Ini("POST.General", "tbGen.Name", "energy");
        host.Data("create table tbGen(Id,Item,Value); insert into tbGen values(1,'UPS',3.5),"
                  "(2,'Air',7)");
    }

    // tbSM as a table that may hold several rows for a SID.
    void DropKeyOfNames()
    {
        host.Data("create table tbCopy as select * from tbSM; drop table tbSM;"
                  "alter table tbCopy rename to tbSM");
    }

    CHostDir host;
    Texts log;
};
