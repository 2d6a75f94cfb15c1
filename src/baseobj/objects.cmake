# The upper layer of src/baseobj, above the units of measure: named objects
# and navigation, notifications, configuration; values, monikers and
# resources come here too.
sorvane_layer(sorvane_objects FOLDER baseobj
    UNITS namedobj notifier configreader unitstr cpval mnkr sorvmnkr resmnkr datares container
        resmgr
    BELOW sorvane_units)
