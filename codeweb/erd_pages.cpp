// The pages of the data model files of a generated application: the
// entity-relationship description and the SQL schema.
#include "codeweb/java2htm.h"

void Java2Htm::ERD_to_htm() {}
void Java2Htm::SQL_to_htm() {}
