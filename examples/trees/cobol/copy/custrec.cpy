       01 CUSTOMER-REC.
          05 CUST-NO      PIC 9(8).
          05 CUST-NAME    PIC X(40).
          05 CUST-CREDIT  PIC S9(7)V99 COMP-3.
