#include "vkctl/room/RoomTexts.h"

#include "vkctl/room/RoomDatabase.h"

namespace vkctl
{

std::string schema_of(const std::string& database)
{
    const std::string mark = "-- database: ";
    const std::string& schema = schema_text();
    const size_t begin = schema.find(mark + database + "\n");
    if (begin == std::string::npos)
    {
        return "";
    }
    return schema.substr(begin, schema.find(mark, begin + mark.size()) - begin);
}

std::vector<std::string> fixed_rows(const std::string& time)
{
    const std::string at = "'" + time + "'";
    return {
        "insert into tbExtUps(Type,DateUpd,SysLoad,SysRate,SysMode) values"
        "(257," +
            at + ",86.4,43.2,1)",
        "insert into tbExtAir(Type,DateUpd,ColdAisle,HotAisle,Group1,Group2) values"
        "(1025," +
            at + ",21.3,33.8,3,1)",
        "insert into tbGenEnergy(ID,Item,Value,Unit,DateUpd) values"
        "(1,'PUE',1.42,''," +
            at +
            "),"
            "(2,'IT负载',86.4,'kW'," +
            at +
            "),"
            "(3,'总负载',122.7,'kW'," +
            at + ")",
        "insert into tbGenPort(Port,Proto,Baud,Online,DateUpd) values"
        "(1,'Modbus RTU',9600,1," +
            at +
            "),"
            "(2,'Modbus RTU',19200,1," +
            at +
            "),"
            "(3,'YD/T 1363.3',9600,1," +
            at +
            "),"
            "(4,'SNMP',0,0," +
            at + ")",
        "insert into tbDio(SID,Type,State,DateUpd,D00,D01,D02,D03,D04,D05,D06,D07,D08,D09,D10,D11)"
        " values(1,3585,0," +
            at + ",0,0,0,0,0,0,0,0,0,0,1,0)",
    };
}

std::vector<std::string> alarm_rows()
{
    return {"insert into tbSMAlarm(DID,SID,Type,Alm,LastUpd,AlmBrief,AlmMask,AlmImg,AFld) values"
            "(1,1001,257,0,'2024-05-01 06:12:40','UPS主机1# 市电异常',69,NULL,1),"
            "(2,1001,257,4,'2024-05-01 06:14:05','UPS主机1# 市电异常',69,NULL,1),"
            "(3,101,2305,0,'2024-05-01 07:30:11','门磁1# 门打开',65,'20240501073011_501.jpg',1),"
            "(4,101,2305,4,'2024-05-01 07:31:02','门磁1# 门打开',65,NULL,1),"
            "(5,1002,1025,0,'2024-05-01 07:48:20','精密空调1# 滤网堵塞',68,NULL,0),"
            "(6,103,2305,0,'2024-05-01 07:55:37','漏水检测1# 漏水',71,NULL,NULL)"};
}

std::vector<std::string> detail_columns(const DetailTable& detail)
{
    std::vector<std::string> names = {"SID", detail.key_column};
    for (const Column& column : detail.columns)
    {
        names.emplace_back(column.name);
    }
    if (detail.mode == 200)
    {
        names.emplace_back("ValStr");
    }
    return names;
}

std::string detail_key(const DetailTable& detail, int row)
{
    return detail.key_texts.empty() ? std::to_string(row)
                                    : detail.key_texts[static_cast<size_t>(row - 1)];
}

} // namespace vkctl
