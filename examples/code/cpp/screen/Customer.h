// Customer.h : a customer of the desk
#ifndef CUSTOMER_H_INCLUDED
#define CUSTOMER_H_INCLUDED

#include "../common/Document.h"

typedef struct {
   int days;      // days until an invoice is due
   int discount;  // percent
} Terms;

class Customer : public Document
{
public:
   Customer( DocId id, const char* name );
   virtual ~Customer();

   std::string title() const override;
   int remind( int days );
   afx_msg void OnRemind();

private:
   std::string m_name;
   Terms m_terms;
   int m_reminders;
   DECLARE_MESSAGE_MAP()
};

#endif // CUSTOMER_H_INCLUDED
