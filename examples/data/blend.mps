* Which crudes to buy, and how to blend them into two petrols?
* Optimal profit: 12400 (300 of crude 1 and crude 2 make petrol A, the other 200 of crude 1 and all crude 3 petrol B).
NAME          BLEND
OBJSENSE
    MAX
ROWS
 N  PROFIT
 L  CRUDE1
 L  CRUDE2
 L  CRUDE3
 G  OCTANEA
 G  OCTANEB
 L  DEMANDA
COLUMNS
    A1        PROFIT            20.0   CRUDE1             1.0
    A1        OCTANEA           -4.0   DEMANDA            1.0
    A2        PROFIT            10.0   CRUDE2             1.0
    A2        OCTANEA            4.0   DEMANDA            1.0
    B1        PROFIT            12.0   CRUDE1             1.0
    B1        OCTANEB           -1.0
    B3        PROFIT             5.0   CRUDE3             1.0
    B3        OCTANEB            2.0
RHS
    RHS       CRUDE1           500.0   CRUDE2           300.0
    RHS       CRUDE3           200.0   DEMANDA         1000.0
BOUNDS
ENDATA
