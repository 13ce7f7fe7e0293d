// Document.h : the base of everything the order screen shows
#ifndef DOCUMENT_H_INCLUDED
#define DOCUMENT_H_INCLUDED

#include <string>

#define MAX_TITLE 80

typedef unsigned long DocId;

/**
 * A document of the desk: it has a number and a title.
 */
class Document
{
public:
   Document( DocId id );
   virtual ~Document();

   DocId id() const;
   virtual std::string title() const;

protected:
   DocId m_id;
};

#endif // DOCUMENT_H_INCLUDED
