// Order.h : an order of a customer
#ifndef ORDER_H_INCLUDED
#define ORDER_H_INCLUDED

#include "../common/Document.h"

class Customer;

template <class T>
class Line
{
public:
   T amount;
};

class Order : public Document, public Line<int>
{
public:
   Order( DocId id, Customer* customer );
   bool overdue() const;
   int age() const;

private:
   Customer* m_customer;
   int m_days;
};

#endif // ORDER_H_INCLUDED
