/* log.c - the reminder log of the order screen, in plain C */
#include <stdio.h>

static int logged = 0;

void log_reminder( const char* name )
{
   logged++;
   printf( "reminder %d: %s\n", logged, name );
}
