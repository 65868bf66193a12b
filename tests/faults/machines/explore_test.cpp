#include "lane.hpp"
#include <gtest/gtest.h>
#include <iostream>
#include <cstdlib>
#include <sys/stat.h>
#include <unistd.h>
using namespace tarnix::test;
namespace {
void show(const char* label, const outcome& o){ std::cout<<label<<" | "<<o.result<<" | again "<<o.again<<" | struck "<<o.struck<<" | "<<o.ended_in<<" "<<o.end<<" "<<o.unavailable<<" | "; for(auto&f:o.files) std::cout<<f<<", "; std::cout<<"| "; for(auto&f:o.options) std::cout<<f<<" "; std::cout<<std::endl; }
TEST(X, y){
 lane on(200000);
 for (std::string l : {"core","session"}) {
  for (auto [f,name,n]: std::initializer_list<std::tuple<fault,const char*,int>>{{fault::read,"read",5},{fault::shrinking_file,"shrink",4},{fault::growing_file,"grow",4},{fault::close,"close",2}})
   for (int i=1;i<=n;++i){ auto o=on.run({.operation=l+"_put",.what=f,.nth=i}); show((l+"_put "+name+std::to_string(i)).c_str(),o); std::cout<<"   stored "<<on.took_effect("_put")<<"\n"; write_bytes(on.folder()/"data",on.content()); on.clean_up(); }
  for (auto [f,name,ns]: std::initializer_list<std::tuple<fault,const char*,std::vector<int>>>{{fault::write,"write",{1,2,14}},{fault::close,"close",{1,2}},{fault::file_size,"fsize",{0,1,16384,199999,200000}},{fault::small_disk,"disk",{4096,65536,196608,200704}}})
   for (int i:ns){ auto o=on.run({.operation=l+"_get",.what=f,.nth=i}); show((l+"_get "+name+std::to_string(i)).c_str(),o); on.clean_up(); }
  auto folder=on.folder().path();
  std::filesystem::create_directory(folder/"dir"); mkfifo((folder/"fifo").c_str(),0600); std::filesystem::create_symlink("nowhere",folder/"link"); std::filesystem::create_symlink("loop",folder/"loop"); write_bytes(folder/"locked","x"); std::filesystem::permissions(folder/"locked",std::filesystem::perms::none); std::filesystem::permissions(folder,std::filesystem::perms(0755));
  for (std::string local : {std::string("dir"),std::string("fifo"),std::string("link"),std::string("loop"),std::string("missing/x"),std::string(300,'n'),std::string("/dev/full"),std::string("/dev/null")}) for (std::string op: {"_put","_get"}) { auto o=on.run({.operation=l+op,.local=local}); show((l+op+" "+local.substr(0,12)).c_str(),o); std::filesystem::remove(folder/"nowhere"); }
  for (std::string op: {"_put","_get"}) { auto o=on.run({.operation=l+op,.what=fault::no_privileges,.local="locked"}); show((l+op+" locked").c_str(),o); }
  { auto o=on.run({.operation=l+"_get",.what=fault::no_privileges,.local="new"}); show((l+"_get new in locked folder").c_str(),o); }
  std::filesystem::remove_all(folder/"dir"); for (auto x:{"fifo","link","loop","locked"}) std::filesystem::remove(folder/x);
  for (std::string op: {"_connect","_get","_put","_list","_names","_nlst","_cd","_mkdir","_rename"}) for (int n=0;n<14;++n) { if ((l=="core"&&op=="_names")||(l=="session"&&op=="_nlst")) continue; auto o=on.run({.operation=l+op,.what=fault::descriptors,.nth=n}); show((l+op+" fds "+std::to_string(n)).c_str(),o); on.clean_up(); if (o.result.starts_with("done")&&n>6) break; }
 }
}
}
