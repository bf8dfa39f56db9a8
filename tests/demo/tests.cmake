foreach(name showgltest demomaingltest picturesgltest callsgltest)
  pixmoth_add_test(demo ${name} EACH)
endforeach()
