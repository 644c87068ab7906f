// What users of the host kit are compiled with, in a form that a listing of debug
// information reaches: each class as a parameter.

#include <modbus_rtu_host/link.h>

extern "C" MODBUS_RTU_HOST_EXPORT void host_shape(rtu::Error *, rtu::Line *, rtu::LinkSettings *, rtu::Link *,
                                                  rtu::LinkStatistics *, rtu::OneOffRead *, rtu::ReadResult *,
                                                  rtu::RecipeRow *, rtu::StationSettings *, rtu::Tag *,
                                                  rtu::TagChange *, rtu::TagDefinition *, rtu::TagValue *,
                                                  rtu::Transaction *, rtu::Transfer *, rtu::TransferResult *,
                                                  rtu::Write *, rtu::WriteOptions *, rtu::WriteResult *)
{
}
